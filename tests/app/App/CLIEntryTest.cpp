// Starting the tray app where it cannot reach a screen.
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <gtest/gtest.h>

namespace {

constexpr int patienceMs = 30000;

struct Ending {
    bool crashed = true;
    int status = -1;
    QString err;
};

Ending startTrayApp(const QProcessEnvironment& environment) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TRAMIX_BINARY), {});
    if (!process.waitForFinished(patienceMs)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return {process.exitStatus() != QProcess::NormalExit, process.exitCode(),
            QString::fromUtf8(process.readAllStandardError())};
}

// The test's own environment without any screen or forced platform.
QProcessEnvironment withoutScreen() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    return environment;
}

// A display number that no local X server listens on.
QString unusedDisplay() {
    for (int number = 3917;; ++number) {
        if (!QFileInfo::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(number)))
            return QStringLiteral(":%1").arg(number);
    }
}

} // namespace

TEST(CLIEntry, TrayAppWithoutAScreenEndsWithASentenceAndStatusOne) {
    const Ending unset = startTrayApp(withoutScreen());
    EXPECT_FALSE(unset.crashed);
    EXPECT_EQ(unset.status, 1);
    EXPECT_EQ(unset.err, "Fehler: Kein Bildschirm gefunden (DISPLAY ist nicht gesetzt).\n");

    QProcessEnvironment empty = withoutScreen();
    empty.insert("DISPLAY", "");
    EXPECT_EQ(startTrayApp(empty).err, unset.err);

    QProcessEnvironment unreachable = withoutScreen();
    const QString display = unusedDisplay();
    unreachable.insert("DISPLAY", display);
    const Ending closed = startTrayApp(unreachable);
    EXPECT_FALSE(closed.crashed);
    EXPECT_EQ(closed.status, 1);
    EXPECT_EQ(closed.err,
              QStringLiteral("Fehler: Der Bildschirm „%1“ aus DISPLAY lässt sich nicht öffnen.\n")
                  .arg(display));
}
