// Moves one file or folder into another folder without ever replacing what is there.
#pragma once

#include <QString>

namespace tramix::FileMove {

// Moves `source` into `folder` under its own name or, when that is taken, the next free numbered
// one ("{base} {n}{ext}"); a name that another program takes meanwhile is skipped, not replaced.
// Onto another file system the item is copied whole, compared and only then removed. An item
// already in `folder` stays as it is. Returns its new path; throws ConversionError, leaving the
// source where it was.
QString into(const QString& source, const QString& folder);

} // namespace tramix::FileMove
