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

private:
    QByteArray previous_;
    bool hadPrevious_;
};

} // namespace tramix::test
