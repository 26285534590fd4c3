#include "FFmpegRun.h"

#include "ChildProcess.h"
#include "ConversionError.h"

#include <QThread>
#include <algorithm>
#include <chrono>
#include <semaphore>

namespace tramix::FFmpegRun {

namespace {

constexpr int stopGraceMs = 2000; // between ffmpeg's own "q" and SIGTERM
constexpr auto slotPoll = std::chrono::milliseconds(100);
constexpr std::ptrdiff_t maxSlots = 64;

// Shared by every job of the process: two jobs dropped one after the other still share the cores.
std::counting_semaphore<maxSlots>& slots() {
    static std::counting_semaphore<maxSlots> instance(
        std::min<std::ptrdiff_t>(videoEncodeSlots(QThread::idealThreadCount()), maxSlots));
    return instance;
}

class Slot {
public:
    Slot(Load load, const OutputContext& context)
        : held_(load == Load::videoEncode) {
        if (!held_)
            return;
        while (!slots().try_acquire_for(slotPoll))
            context.throwIfCancelled();
    }
    ~Slot() {
        if (held_)
            slots().release();
    }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

private:
    bool held_;
};

} // namespace

int videoEncodeSlots(int cores) {
    return std::max(1, cores / 2);
}

void run(const QStringList& arguments, double duration, const QString& inputName,
         const OutputContext& context, Load load) {
    const Slot slot(load, context);
    context.throwIfCancelled();
    const QStringList all =
        QStringList{"-hide_banner", "-loglevel", "error", "-nostats", "-progress", "pipe:1", "-y"} +
        arguments;
    auto onLine = [&](const QByteArray& line) {
        if (line.startsWith("out_time_us=") && duration > 0) {
            const double done = line.mid(12).toDouble() / 1e6;
            context.reportFraction(done / duration);
        } else if (line == "progress=end") {
            context.reportFraction(1);
        }
    };
    auto explain = [inputName](int, const QString&) {
        return QStringLiteral("„%1“ konnte nicht umgewandelt werden.").arg(inputName);
    };
    ChildProcess::stream(
        QStringLiteral("ffmpeg"), all, onLine, [&] { return context.cancelled(); }, "q",
        stopGraceMs, explain);
}

} // namespace tramix::FFmpegRun
