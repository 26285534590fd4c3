// What each wheel offers for the dragged files: the catalogue's conversions or tools, or the
// file actions.
#pragma once

#include "FileOperation.h"
#include "WheelMode.h"

#include <QList>
#include <QStringList>

namespace tramix {

QList<FileOperation> wheelOperations(WheelMode mode, const QStringList& paths);

} // namespace tramix
