#include "SizeCheck.h"

#include "ConversionError.h"
#include "SystemError.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <unistd.h>

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
    if (::unlink(QFile::encodeName(output).constData()) != 0) {
        throw ConversionError::failed(
            QStringLiteral("„%1“ konnte nicht gelöscht werden: %2")
                .arg(QFileInfo(output).fileName(), SystemError::writeReason(errno)));
    }
    throw ConversionError::failed(QStringLiteral("%1 ist bereits optimal komprimiert.").arg(what));
}

} // namespace tramix::SizeCheck
