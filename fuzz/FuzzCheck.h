// What every harness needs: a check that stops the run the way a sanitizer does, so that a
// broken invariant is written out as a crash input like any memory fault.
#pragma once

#include <QByteArray>
#include <QString>
#include <cstdio>
#include <cstdlib>

namespace tramix::fuzz {

[[noreturn]] inline void fail(const char* condition, const char* file, int line,
                              const QString& detail) {
    std::fprintf(stderr, "%s:%d: invariant broken: %s\n%s\n", file, line, condition,
                 detail.toUtf8().constData());
    std::abort();
}

// The input as text: valid UTF-8 as it is, anything else with replacement characters.
inline QString text(const uint8_t* data, size_t size) {
    return QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
}

} // namespace tramix::fuzz

#define FUZZ_CHECK(condition, detail)                                                              \
    do {                                                                                           \
        if (!(condition))                                                                          \
            ::tramix::fuzz::fail(#condition, __FILE__, __LINE__, (detail));                        \
    } while (false)
