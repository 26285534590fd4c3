// The tray app under a real X server: its icon docks in a tray, opens the menu panel, and
// "Beenden" ends it.
#include "TestFiles.h"
#include "app/Drag/DragHarness.h"
#include "app/Settings/ScratchLog.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRect>
#include <QRegularExpression>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>

using tramix::test::eventDeadlineMs;
using tramix::test::startDeadlineMs;

namespace {

class Process {
public:
    Process(const QString& program, const QStringList& args) {
        process_.setProgram(program);
        process_.setArguments(args);
        process_.start();
    }
    ~Process() {
        if (process_.state() != QProcess::NotRunning) {
            process_.kill();
            process_.waitForFinished(5000);
        }
    }
    QProcess& operator*() { return process_; }
    QProcess* operator->() { return &process_; }

    // The next line of standard output that matches, or an empty match after the timeout.
    QRegularExpressionMatch waitForLine(const QRegularExpression& pattern,
                                        int timeoutMs = startDeadlineMs) {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < timeoutMs) {
            while (process_.canReadLine()) {
                const QString line = QString::fromUtf8(process_.readLine()).trimmed();
                if (auto match = pattern.match(line); match.hasMatch())
                    return match;
            }
            process_.waitForReadyRead(100);
        }
        return {};
    }

private:
    QProcess process_;
};

bool xdotool(const QStringList& args) {
    return QProcess::execute(QStringLiteral("xdotool"), args) == 0;
}

const QRegularExpression docked(QStringLiteral("^docked (\\d+) (\\d+)$"));
constexpr int pollMs = 100;

// The geometry of the app's visible menu panel, or an empty rect when none is open.
QRect visibleMenu() {
    QProcess search;
    search.start(QStringLiteral("xdotool"), {"search", "--onlyvisible", "--name", "^Tramix$",
                                             "getwindowgeometry", "--shell", "%@"});
    search.waitForFinished(5000);
    const QString out = QString::fromUtf8(search.readAllStandardOutput());
    const auto value = [&](const char* name) {
        return QRegularExpression(QStringLiteral("^%1=(\\d+)$").arg(name),
                                  QRegularExpression::MultilineOption)
            .match(out)
            .captured(1)
            .toInt();
    };
    return QRect(value("X"), value("Y"), value("WIDTH"), value("HEIGHT"));
}

// Polls `done` until it holds or the deadline passes; returns whether it held.
bool waitUntil(const std::function<bool()>& done) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > eventDeadlineMs)
            return false;
        QThread::msleep(pollMs);
    }
    return true;
}

// Waits until the panel is open (or closed), and returns where it is.
QRect waitForMenu(bool open) {
    QRect menu;
    waitUntil([&] {
        menu = visibleMenu();
        return menu.isEmpty() != open;
    });
    return menu;
}

// How many windows of the app are on screen (the docked icon is one).
int visibleAppWindows() {
    QProcess search;
    search.start(QStringLiteral("xdotool"), {"search", "--onlyvisible", "--classname", "tramix"});
    search.waitForFinished(5000);
    return int(
        QString::fromUtf8(search.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts).size());
}

} // namespace

// One test for all of it: the tray has room for one host on the display.
TEST(TrayApp, StartsWithoutCommandOpensItsMenuFromTheIconAndQuitsFromItsContextMenu) {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        GTEST_SKIP() << "needs an X display (scripts/test starts Xvfb)";
    // The app inherits a private state folder, so its own debug log can be read afterwards.
    tramix::test::TestFolder folder;
    tramix::test::ScratchLog log(folder.path("state"));
    Process host(QStringLiteral(TRAY_HOST_BINARY), {});
    ASSERT_TRUE(host.waitForLine(QRegularExpression("^ready$")).hasMatch());

    // A single leading dash is no command: this starts the tray app, not the command line.
    Process app(QStringLiteral(TRAMIX_BINARY), {"-list", "convert", "a.jpg"});
    ASSERT_TRUE(app->waitForStarted());
    const QRegularExpressionMatch icon = host.waitForLine(docked);
    ASSERT_TRUE(icon.hasMatch()) << "the tray icon never docked";
    EXPECT_EQ(app->state(), QProcess::Running);
    const QPoint iconCentre(icon.captured(1).toInt(), icon.captured(2).toInt());
    const auto clickAt = [](QPoint point) {
        return xdotool(
            {"mousemove", QString::number(point.x()), QString::number(point.y()), "click", "1"});
    };

    ASSERT_TRUE(clickAt(iconCentre));
    const QRect menu = waitForMenu(true);
    ASSERT_FALSE(menu.isEmpty()) << "a click on the icon opened no menu";
    EXPECT_GT(menu.top(), iconCentre.y()) << "the menu hangs below the icon";
    EXPECT_LE(menu.top() - iconCentre.y(), 40);
    EXPECT_GE(menu.left(), 6);
    EXPECT_GT(menu.height(), 400);

    ASSERT_TRUE(clickAt(QPoint(1500, 700)));
    EXPECT_TRUE(waitForMenu(false).isEmpty()) << "a click elsewhere left the menu open";

    ASSERT_TRUE(clickAt(iconCentre));
    ASSERT_FALSE(waitForMenu(true).isEmpty()) << "the menu did not open a second time";
    ASSERT_TRUE(xdotool({"key", "Escape"}));
    EXPECT_TRUE(waitForMenu(false).isEmpty()) << "Escape left the menu open";
    // The closed panel lets go of the pointer a moment later; a click that comes faster than
    // any hand would still belong to it.
    tramix::test::SyntheticInput input;
    ASSERT_TRUE(input.available());
    ASSERT_TRUE(waitUntil([&] { return !input.pointerGrabbed(); })) << "the panel kept the grab";

    const int windows = visibleAppWindows();
    ASSERT_TRUE(xdotool({"mousemove", icon.captured(1), icon.captured(2), "click", "3"}));
    ASSERT_TRUE(waitUntil([&] { return visibleAppWindows() > windows; }))
        << "a right click on the icon opened no context menu";
    ASSERT_TRUE(xdotool({"key", "Down", "Return"}));
    ASSERT_TRUE(app->waitForFinished(eventDeadlineMs)) << "Beenden did not end the app";
    EXPECT_EQ(app->exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(app->exitCode(), 0) << app->readAllStandardError().toStdString();
    EXPECT_EQ(app->readAllStandardOutput(), QByteArray());
    // Clicks are logged by the drag monitor, which watches every press for a drag.
    EXPECT_EQ(log.messages().value(0), "Tramix gestartet");
}
