// A copy onto another file system that is as good as a move: whole or not at all.
#pragma once

#include <QString>

namespace tramix::TreeCopy {

// Copies `source` (a file, a symbolic link, or a folder with everything in it) to `target`, or to
// the next free numbered name beside it when another program takes that one meanwhile; nothing is
// ever replaced. Links stay links; permissions and modification times are kept. Every copied byte
// is compared with its original before the copy gets its name. Returns the path of the copy.
// Throws ConversionError and leaves nothing behind when anything fails; the source is only read.
QString copyNew(const QString& source, const QString& target);

} // namespace tramix::TreeCopy
