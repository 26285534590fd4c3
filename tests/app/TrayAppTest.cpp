// The tray app under a real X server: its icon docks in a tray, and "Beenden" ends it.
#include "TestFiles.h"
#include "app/ScratchLog.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>
#include <gtest/gtest.h>

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
    QRegularExpressionMatch waitForLine(const QRegularExpression& pattern, int timeoutMs = 10000) {
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

} // namespace

TEST(TrayApp, StartsWithoutCommandDocksItsIconAndQuitsFromItsMenu) {
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

    ASSERT_TRUE(xdotool({"mousemove", icon.captured(1), icon.captured(2), "click", "3"}));
    QThread::msleep(500);
    ASSERT_TRUE(xdotool({"key", "Down", "Return"}));
    ASSERT_TRUE(app->waitForFinished(10000)) << "Beenden did not end the app";
    EXPECT_EQ(app->exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(app->exitCode(), 0) << app->readAllStandardError().toStdString();
    EXPECT_EQ(app->readAllStandardOutput(), QByteArray());
    EXPECT_EQ(log.messages(), QStringList{"Tramix gestartet"});
}
