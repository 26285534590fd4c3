// Refuses "compressed" results that did not get meaningfully smaller.
#pragma once

#include <QString>

namespace tramix::SizeCheck {

// The file's size in bytes; 0 when it cannot be read.
qint64 size(const QString& path);

// Deletes `output` and throws "{what} ist bereits optimal komprimiert." unless it is at least
// 3 % smaller than `input`. Unknown sizes accept the output.
void requireSmaller(const QString& output, const QString& input, const QString& what);

} // namespace tramix::SizeCheck
