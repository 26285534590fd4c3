#include "SizeCheck.h"

#include "ConversionError.h"

#include <QFile>
#include <QFileInfo>

namespace tramix::SizeCheck {

qint64 size(const QString& path) {
    const QFileInfo info(path);
    return info.isFile() ? info.size() : 0;
}

void requireSmaller(const QString& output, const QString& input, const QString& what) {
    const qint64 newSize = size(output);
    const qint64 oldSize = size(input);
    if (newSize < 1 || oldSize < 1 || double(oldSize) * 0.97 >= double(newSize))
        return;
    QFile file(output);
    if (!file.remove()) {
        throw ConversionError::failed(QStringLiteral("„%1“ konnte nicht gelöscht werden: %2")
                                          .arg(QFileInfo(output).fileName(), file.errorString()));
    }
    throw ConversionError::failed(QStringLiteral("%1 ist bereits optimal komprimiert.").arg(what));
}

} // namespace tramix::SizeCheck
