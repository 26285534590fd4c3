// Drives real drags under an X server for end-to-end tests: child processes whose output lines
// the test waits for, and a pointer and keyboard moved through XTEST at device level, so drag
// sources and our global monitor see them as a user's input.
#pragma once

#include <QPoint>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

struct _XDisplay;

namespace tramix::test {

// How long a test waits for something that must happen. Generous, because the first start of a
// program on a fresh machine (sanitizers, cold disk and font caches) can take seconds; waiting on
// the event itself costs nothing when it comes sooner.
constexpr int startDeadlineMs = 60000;
constexpr int eventDeadlineMs = 20000;

// A child process read line by line; killed when the object goes.
class ChildProcess {
public:
    ChildProcess(const QString& program, const QStringList& args);
    ~ChildProcess();

    // The first unread line matching `pattern` within the timeout; lines before it are consumed.
    std::optional<QRegularExpressionMatch> waitFor(const QRegularExpression& pattern,
                                                   int timeoutMs = eventDeadlineMs);
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
    // Presses and lets go of `names`, as a quick finger would.
    void tap(const QStringList& names);
    // Lets go of the button and of every key a test presses, so a failed step leaves nothing
    // pressed for the next test.
    void releaseAll();
    // Whether some client holds the pointer grabbed (an open popup menu does). Asks by trying to
    // grab it for an instant, so never call it while a client may be about to grab.
    bool pointerGrabbed();

private:
    ::_XDisplay* display_ = nullptr;
};

// A test that drives the X display through XTEST; skipped where there is none.
template <class Base = ::testing::Test> class DesktopTest : public Base {
protected:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DISPLAY") || !input.available())
            GTEST_SKIP() << "needs an X display with XTEST (scripts/test starts Xvfb)";
    }
    void TearDown() override {
        if (input.available())
            input.releaseAll();
    }

    SyntheticInput input;
};

// Polls `done` until it holds or the time is up; whether it held.
bool waitUntil(const std::function<bool()>& done, int timeoutMs = eventDeadlineMs);

// Where the label of `index` sits among `slots` segments of a wheel centred at `center`: on the
// ring's middle radius, clockwise from the top. Worked out here, not taken from the wheel, so a
// wheel that draws its segments elsewhere misses.
QPoint segmentPoint(QPoint center, int index, int slots);

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
// Starts a drag source for `files` (or a text drag with `text`) and waits until its window is
// on screen.
Source startSource(SourceKit kit, const QStringList& files, bool text = false);

// Presses on the source and drags to `to`; true once the source has started its drag (a failure
// says which step never came). The pointer moves on only when the source has the press and
// `pressNoticed` says the drag monitor has it, too: as with a hand, the monitor sees the press
// before the drag offers its data.
[[nodiscard]] bool beginDrag(SyntheticInput& input, const Source& source, QPoint to,
                             const std::function<bool()>& pressNoticed);
// Waits until the drop target under the pointer accepts the drag, as the source hears it; a GTK
// source drops only where the last answer it got was yes.
[[nodiscard]] bool waitUntilAccepted(const Source& source);

} // namespace tramix::test
