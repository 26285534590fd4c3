// Drives real drags under an X server for end-to-end tests: child processes whose output lines
// the test waits for, and a pointer and keyboard moved through XTEST at device level, so drag
// sources and our global monitor see them as a user's input.
#pragma once

#include <QPoint>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <chrono>
#include <memory>
#include <optional>

struct _XDisplay;

namespace tramix::test {

// A child process read line by line; killed when the object goes.
class ChildProcess {
public:
    ChildProcess(const QString& program, const QStringList& args);
    ~ChildProcess();

    // The first unread line matching `pattern` within the timeout; lines before it are consumed.
    std::optional<QRegularExpressionMatch> waitFor(const QRegularExpression& pattern,
                                                   int timeoutMs = 5000);
    // Every line that arrives within `ms`, plus the ones not yet read.
    QStringList linesFor(int ms);
    // Every line that arrived so far, read or not.
    const QStringList& allLines() const { return all_; }

private:
    void readAvailable();

    QProcess process_;
    QStringList all_;
    qsizetype next_ = 0;
};

// Device-level input through XTEST.
class SyntheticInput {
public:
    SyntheticInput();
    ~SyntheticInput();
    bool available() const { return display_ != nullptr; }

    void moveTo(QPoint point);
    // Moves in `steps` even steps, pausing between them, as a hand would.
    void glide(QPoint from, QPoint to, int steps = 10, int pauseMs = 15);
    void button(bool down);
    // Keys by keysym name ("Shift_L", "Control_L", "Caps_Lock"); all in one batch, so the server
    // takes them as one change.
    void keys(const QStringList& names, bool down);
    QPoint pointer();

private:
    ::_XDisplay* display_ = nullptr;
};

// Microseconds on the monotonic clock, comparable with the host's "shown-us" stamps.
inline long long monotonicMicros() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Helpers for the wheel host (tests/tools/WheelHost) and the two drag sources.
enum class SourceKit { qt, gtk };

struct Source {
    std::unique_ptr<ChildProcess> process;
    QPoint center;
};

std::unique_ptr<ChildProcess> startWheelHost(const QStringList& args = {});
// Starts a drag source for `files` (or a text drag with `text`) and waits for its window.
Source startSource(SourceKit kit, const QStringList& files, bool text = false);

// Presses on the source and drags to `to`; returns once the drag has started moving.
void beginDrag(SyntheticInput& input, const Source& source, QPoint to);

} // namespace tramix::test
