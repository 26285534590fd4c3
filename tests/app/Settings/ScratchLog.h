// Points the debug log at a private folder for one test and reads back what reached it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace tramix::test {

class ScratchLog {
public:
    // `stateHome` becomes XDG_STATE_HOME until the end of the test.
    explicit ScratchLog(const QString& stateHome);
    ~ScratchLog();
    ScratchLog(const ScratchLog&) = delete;
    ScratchLog& operator=(const ScratchLog&) = delete;

    // Waits for queued lines, then the log's whole content (empty when there is no file).
    QByteArray content() const;
    // The messages of the lines, without their time stamps.
    QStringList messages() const;

    // Waits until a message starting with `prefix` follows the last one found, and returns it;
    // fails the test with the whole log when none comes within `timeoutMs`.
    QString waitFor(const QString& prefix, int timeoutMs);
    // How many messages the waits have looked at so far.
    qsizetype seen() const { return seen_; }

private:
    qsizetype seen_ = 0;
    QByteArray previous_;
    bool hadPrevious_;
};

} // namespace tramix::test
