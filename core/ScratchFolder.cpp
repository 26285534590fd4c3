#include "ScratchFolder.h"

#include "ConversionError.h"

#include <QDir>
#include <QUuid>

namespace tramix {

ScratchFolder::ScratchFolder(const QString& prefix)
    : path_(QDir::temp().filePath(prefix + QUuid::createUuid().toString(QUuid::WithoutBraces))) {
    if (!QDir().mkpath(path_)) {
        throw ConversionError::failed(
            QStringLiteral("Der Arbeitsordner „%1“ konnte nicht angelegt werden.").arg(path_));
    }
}

ScratchFolder::~ScratchFolder() {
    QDir(path_).removeRecursively();
}

} // namespace tramix
