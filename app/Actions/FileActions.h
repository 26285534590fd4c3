// The actions wheel: things done with the dragged files themselves rather than conversions.
#pragma once

#include "FileOperation.h"

#include <QList>

namespace tramix::FileActions {

// The same list for every kind of file, each of style instant, and the ZIP packing at the end.
QList<FileOperation> operations();

} // namespace tramix::FileActions
