#include "DragHarness.h"

#include <QElapsedTimer>
#include <QThread>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

// Last: Xlib's macros would break the names above.
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace tramix::test {

ChildProcess::ChildProcess(const QString& program, const QStringList& args) {
    process_.setProgram(program);
    process_.setArguments(args);
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start();
}

ChildProcess::~ChildProcess() {
    if (process_.state() != QProcess::NotRunning) {
        process_.terminate();
        if (!process_.waitForFinished(2000)) {
            process_.kill();
            process_.waitForFinished(2000);
        }
    }
}

void ChildProcess::readAvailable() {
    while (process_.canReadLine())
        all_.append(QString::fromUtf8(process_.readLine()).remove(QChar(0)).trimmed());
}

std::optional<QRegularExpressionMatch> ChildProcess::waitFor(const QRegularExpression& pattern,
                                                             int timeoutMs) {
    QElapsedTimer timer;
    timer.start();
    while (true) {
        readAvailable();
        while (next_ < all_.size()) {
            const QRegularExpressionMatch match = pattern.match(all_[next_++]);
            if (match.hasMatch())
                return match;
        }
        const qint64 left = timeoutMs - timer.elapsed();
        if (left <= 0)
            return std::nullopt;
        process_.waitForReadyRead(int(std::min<qint64>(left, 50)));
    }
}

QStringList ChildProcess::linesFor(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        process_.waitForReadyRead(int(std::max<qint64>(1, ms - timer.elapsed())));
    readAvailable();
    const QStringList lines = all_.mid(next_);
    next_ = all_.size();
    return lines;
}

SyntheticInput::SyntheticInput() {
    int event = 0, error = 0, major = 0, minor = 0;
    // A busy server may refuse a connection for a moment.
    for (int attempt = 0; attempt < 20 && !display_; ++attempt) {
        display_ = XOpenDisplay(nullptr);
        if (!display_)
            QThread::msleep(100);
    }
    if (display_ && !XTestQueryExtension(display_, &event, &error, &major, &minor)) {
        XCloseDisplay(display_);
        display_ = nullptr;
    }
}

SyntheticInput::~SyntheticInput() {
    if (display_)
        XCloseDisplay(display_);
}

void SyntheticInput::moveTo(QPoint point) {
    XTestFakeMotionEvent(display_, -1, point.x(), point.y(), CurrentTime);
    XSync(display_, False);
}

void SyntheticInput::glide(QPoint from, QPoint to, int steps, int pauseMs) {
    for (int i = 1; i <= steps; ++i) {
        moveTo(from + (to - from) * i / steps);
        QThread::msleep(pauseMs);
    }
}

void SyntheticInput::button(bool down) {
    XTestFakeButtonEvent(display_, 1, down, CurrentTime);
    XSync(display_, False);
}

void SyntheticInput::keys(const QStringList& names, bool down) {
    for (const QString& name : names) {
        const KeySym sym = XStringToKeysym(name.toLatin1().constData());
        XTestFakeKeyEvent(display_, XKeysymToKeycode(display_, sym), down, CurrentTime);
    }
    XSync(display_, False);
}

void SyntheticInput::tap(const QStringList& names) {
    keys(names, true);
    QThread::msleep(40);
    keys(names, false);
}

void SyntheticInput::releaseAll() {
    keys({"Shift_L", "Control_L", "Super_L"}, false);
    button(false);
    QThread::msleep(100);
}

bool SyntheticInput::pointerGrabbed() {
    const int status = XGrabPointer(display_, DefaultRootWindow(display_), False, 0, GrabModeAsync,
                                    GrabModeAsync, None, None, CurrentTime);
    if (status == GrabSuccess)
        XUngrabPointer(display_, CurrentTime);
    XSync(display_, False);
    return status == AlreadyGrabbed;
}

bool waitUntil(const std::function<bool()>& done, int timeoutMs) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QThread::msleep(50);
    }
    return true;
}

QPoint segmentPoint(QPoint center, int index, int slots) {
    const double radius = 94, angle = index * 2 * std::numbers::pi / slots;
    return center + QPoint(int(std::lround(radius * std::sin(angle))),
                           int(-std::lround(radius * std::cos(angle))));
}

std::unique_ptr<ChildProcess> startWheelHost(const QStringList& args) {
    auto host = std::make_unique<ChildProcess>(QStringLiteral(WHEEL_HOST_BINARY), args);
    if (!host->waitFor(QRegularExpression("^ready$"), startDeadlineMs))
        return nullptr;
    return host;
}

Source startSource(SourceKit kit, const QStringList& files, bool text) {
    QStringList args;
    if (text)
        args.append(QStringLiteral("--text"));
    args.append(files);
    const QString program = kit == SourceKit::qt ? QStringLiteral(QT_DRAG_SOURCE_BINARY)
                                                 : QStringLiteral(GTK_DRAG_SOURCE_BINARY);
    Source source{std::make_unique<ChildProcess>(program, args), {}};
    if (const auto ready =
            source.process->waitFor(QRegularExpression("^ready (\\d+) (\\d+)$"), startDeadlineMs))
        source.center = {ready->captured(1).toInt(), ready->captured(2).toInt()};
    else
        ADD_FAILURE() << "the drag source never showed its window";
    return source;
}

bool beginDrag(SyntheticInput& input, const Source& source, QPoint to,
               const std::function<bool()>& pressNoticed) {
    input.moveTo(source.center);
    input.button(true);
    if (!source.process->waitFor(QRegularExpression("^pressed$"))) {
        ADD_FAILURE() << "the drag source never saw the press";
        return false;
    }
    if (!pressNoticed()) {
        ADD_FAILURE() << "the drag monitor never saw the press";
        return false;
    }
    input.glide(source.center, to, 12, 20);
    if (!source.process->waitFor(QRegularExpression("^dragging$"))) {
        ADD_FAILURE() << "the drag source never started its drag";
        return false;
    }
    return true;
}

bool waitUntilAccepted(const Source& source) {
    if (source.process->waitFor(QRegularExpression("^action (copy|move)$")))
        return true;
    ADD_FAILURE() << "the drop target never accepted the drag:\n"
                  << source.process->allLines().join('\n').toStdString();
    return false;
}

} // namespace tramix::test
