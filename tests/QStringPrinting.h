// Readable QStrings in test failure messages. Every test file gets this first (the build
// includes it), since gtest's printer for a type must be the same in every file that uses it.
#pragma once

#include <QString>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}
