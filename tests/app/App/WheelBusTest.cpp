// The tray app on a private session bus, as the file managers' menus reach it: `tramix --wheel`
// starts it when needed and opens the wheel at the pointer, a real click converts, Escape and a
// click elsewhere close, the file managers' menu entries open it too, a second start leaves at
// once and Quit() ends the app.
#include "Catalogue/OperationRegistry.h"
#include "Drag/WheelGeometry.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "app/Drag/DragHarness.h"
#include "app/Settings/ScratchLog.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <gtest/gtest.h>
#include <signal.h>

using namespace tramix;
using namespace tramix::test;

namespace {

constexpr auto service = "org.tramix.Tramix";

struct Finished {
    int status = -1;
    QString out;
};

// Runs `tramix args…` to its end.
Finished runTramix(const QStringList& args, int timeoutMs = eventDeadlineMs) {
    QProcess process;
    process.start(QStringLiteral(TRAMIX_BINARY), args);
    if (!process.waitForFinished(timeoutMs))
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput())};
}

// Whether the process has ended; one that nobody reaped yet counts as ended.
bool ended(uint pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray line = stat.readAll();
    return line.mid(line.lastIndexOf(')') + 2, 1) == "Z";
}

class WheelBus : public DesktopTest<> {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        if (IsSkipped())
            return;
        daemon.start(QStringLiteral("dbus-daemon"), {"--session", "--nofork", "--print-address=1"});
        ASSERT_TRUE(daemon.waitForStarted()) << "dbus-daemon is missing";
        ASSERT_TRUE(daemon.waitForReadyRead(5000));
        address = QString::fromUtf8(daemon.readLine()).trimmed().toLocal8Bit();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        qputenv("XDG_CONFIG_HOME", folder.path("config").toLocal8Bit());
        qputenv("LANGUAGE", "de");
    }
    void TearDown() override {
        // The app was started detached: a failed step must not leave it running.
        if (pid > 0 && !ended(pid))
            ::kill(pid_t(pid), SIGTERM);
        QDBusConnection::disconnectFromBus(QStringLiteral("test"));
        daemon.kill();
        daemon.waitForFinished();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("XDG_CONFIG_HOME", config);
        qputenv("LANGUAGE", language);
        DesktopTest::TearDown();
    }

    QString waitForLog(const QString& prefix, int timeoutMs = eventDeadlineMs) {
        return log.waitFor(prefix, timeoutMs);
    }

    // Opens the convert wheel for `file` with the pointer at `open`, and waits until it holds
    // pointer and keyboard.
    void openWheel(const QString& file, int timeoutMs = eventDeadlineMs) {
        input.moveTo(open);
        const Finished wheel = runTramix({"--wheel", "convert", file}, timeoutMs);
        ASSERT_EQ(wheel.status, 0) << wheel.out.toStdString();
        waitForLog(QStringLiteral("Rad convert mit"), timeoutMs);
        waitForLog(QStringLiteral("Rad hält Zeiger und Tastatur"));
    }

    QProcess daemon;
    QByteArray address;
    const QByteArray config = qgetenv("XDG_CONFIG_HOME");
    const QByteArray language = qgetenv("LANGUAGE");
    uint pid = 0;
    TestFolder folder;
    ScratchLog log{folder.path("state")};
    const QPoint open{700, 500};
};

} // namespace

TEST_F(WheelBus, WheelCommandStartsTheAppAClickConvertsASecondStartLeavesAndQuitEnds) {
    const QString photo = saveImage(photoLike(320, 240), folder.path("a.jpg"), "[Q=90]");

    const Finished unknown = runTramix({"--wheel", "spin", photo});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_TRUE(unknown.out.contains("Unbekanntes Rad „spin“")) << unknown.out.toStdString();
    const Finished missing = runTramix({"--wheel", "convert", folder.path("fehlt.jpg")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.out.contains("gibt es nicht")) << missing.out.toStdString();
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder.path("kein-bus").toLocal8Bit());
    const Finished noBus = runTramix({"--wheel", "convert", photo});
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    EXPECT_EQ(noBus.status, 1);
    EXPECT_TRUE(noBus.out.contains("keine D-Bus-Sitzung")) << noBus.out.toStdString();

    // Nothing runs yet: the command starts the app and waits for it on the bus.
    openWheel(photo, startDeadlineMs);
    QDBusConnection bus = QDBusConnection::connectToBus(QString::fromLocal8Bit(address), "test");
    pid = bus.interface()->servicePid(service).value();
    ASSERT_GT(pid, 0U);

    const QList<FileOperation> operations =
        OperationRegistry::operations(WheelMode::convert, {photo});
    const qsizetype png = ids(operations).indexOf("convert.image.png");
    ASSERT_GE(png, 0);
    ASSERT_LT(png, WheelGeometry::operationsPerPage);
    const int slots = WheelGeometry::slots(
        int(std::min<qsizetype>(operations.size(), WheelGeometry::operationsPerPage)));
    input.glide(open, segmentPoint(open, int(png), slots), 5);
    input.button(true);
    input.button(false);
    waitForLog(QStringLiteral("Klick auf convert.image.png"));
    EXPECT_EQ(waitForLog("Toast: Fertig in").section(" · ", 1), QStringLiteral("a.png"));
    EXPECT_TRUE(QFileInfo::exists(folder.path("a.png")));

    // A second start hands over to the first, which keeps running.
    const Finished second = runTramix({}, 5000);
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(bus.interface()->servicePid(service).value(), pid);

    // Escape closes, and so does a click beside the wheel; neither runs anything.
    openWheel(photo);
    input.tap({"Escape"});
    waitForLog(QStringLiteral("Rad geschlossen"));
    openWheel(photo);
    input.moveTo(open + QPoint(400, 0));
    input.button(true);
    input.button(false);
    waitForLog(QStringLiteral("Rad geschlossen"));
    ASSERT_TRUE(waitUntil([&] { return !input.pointerGrabbed(); })) << "the wheel kept the grab";

    // The file managers' wheel entries reach it the same way: the Nautilus script with the
    // selection in its variable, and a Nemo action's command line with %F filled in.
    qputenv("XDG_DATA_HOME", folder.path("data").toLocal8Bit());
    ASSERT_EQ(runTramix({"--install-integration"}).status, 0);
    const auto menuEntryOpens = [&](const QString& program, const QStringList& args,
                                    const QString& wheel) {
        input.moveTo(open);
        QProcess entry;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("NAUTILUS_SCRIPT_SELECTED_FILE_PATHS", photo + '\n');
        entry.setProcessEnvironment(environment);
        entry.start(program, args);
        waitForLog("Rad " + wheel + " mit");
        waitForLog(QStringLiteral("Rad hält Zeiger und Tastatur"));
        EXPECT_TRUE(entry.waitForFinished(eventDeadlineMs) && entry.exitCode() == 0)
            << program.toStdString();
        input.tap({"Escape"});
        waitForLog(QStringLiteral("Rad geschlossen"));
    };
    menuEntryOpens(folder.path("data/nautilus/scripts/Tramix/Formate …"), {}, "convert");
    QSettings action(folder.path("data/nemo/actions/tramix-wheel-tools.nemo_action"),
                     QSettings::IniFormat);
    const QString exec = action.value("Nemo Action/Exec").toString();
    ASSERT_TRUE(exec.endsWith(" %F")) << exec.toStdString();
    menuEntryOpens("/bin/sh", {"-c", QString(exec).replace("%F", '"' + photo + '"')}, "tools");
    qunsetenv("XDG_DATA_HOME");

    // Run() goes through the job centre as a drop does, and refuses what does not fit.
    const auto call = [&](const QString& method, const QVariantList& args) {
        QDBusMessage message = QDBusMessage::createMethodCall(service, "/org/tramix/Tramix",
                                                              "org.tramix.Tramix", method);
        message.setArguments(args);
        return bus.call(message);
    };
    EXPECT_NE(call("Run", {"convert.image.webp", QStringList{photo}}).type(),
              QDBusMessage::ErrorMessage);
    EXPECT_EQ(waitForLog("Toast: Fertig in").section(" · ", 1), QStringLiteral("a.webp"));
    const QDBusMessage refused = call("Run", {"convert.pdf.png", QStringList{photo}});
    EXPECT_TRUE(refused.errorMessage().contains("passt nicht"))
        << refused.errorMessage().toStdString();

    const QDBusMessage quit = call("Quit", {});
    EXPECT_NE(quit.type(), QDBusMessage::ErrorMessage) << quit.errorMessage().toStdString();
    EXPECT_TRUE(waitUntil([&] { return ended(pid); })) << "Quit left it running";
    EXPECT_FALSE(bus.interface()->isServiceRegistered(service).value());
    EXPECT_EQ(log.messages().filter("Klick auf").size(), 1);
}
