// What came of one run: files written, one failure per input that failed, and the time taken.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace tramix {

struct JobResult {
    struct Failure {
        QString input;
        QString message;
        bool operator==(const Failure&) const = default;
    };

    QStringList outputs; // in the order the per-input calls finished
    QList<Failure> failures;
    double duration = 0;    // seconds
    bool cancelled = false; // stopped by the user: inputs not yet started were left alone

    // A run that wrote nothing and reported nothing deliberately does not count as a success.
    bool succeeded() const { return failures.isEmpty() && !outputs.isEmpty(); }
};

} // namespace tramix
