// Starting the tray app where it cannot reach a screen.
#include "CliRunner.h"

#include <QFileInfo>
#include <gtest/gtest.h>

using tramix::test::runProgram;

namespace {

// The tray app started with the test's own environment, `display` as DISPLAY (unset when null)
// and no other screen or forced platform.
tramix::test::CliOutput startTrayApp(const QString& display) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    if (!display.isNull())
        environment.insert("DISPLAY", display);
    return runProgram(QStringLiteral(TRAMIX_BINARY), {}, QString(), environment);
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
    const QString unset = "Fehler: Kein Bildschirm gefunden (DISPLAY ist nicht gesetzt).\n";
    const QString display = unusedDisplay();
    const std::pair<QString, QString> cases[] = {
        {QString(), unset},
        {QStringLiteral(""), unset},
        {display, QStringLiteral("Fehler: Der Bildschirm „%1“ aus DISPLAY lässt sich nicht "
                                 "öffnen.\n")
                      .arg(display)},
    };
    for (const auto& [value, sentence] : cases) {
        const auto ending = startTrayApp(value);
        EXPECT_EQ(ending.status, 1) << "DISPLAY=" << value.toStdString();
        EXPECT_EQ(ending.err, sentence);
    }
}
