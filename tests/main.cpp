#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <cstdio>
#include <gtest/gtest.h>
#include <vector>

int main(int argc, char** argv) {
    // Every test, and every program a test starts, works in a fresh folder that goes at the end:
    // whatever they leave in their working directory (LibreOffice leaves an NSS database) never
    // lands in the checkout or the build tree.
    const QTemporaryDir scratch(QDir::tempPath() + QStringLiteral("/TramixTests-XXXXXX"));
    if (!scratch.isValid() || !QDir::setCurrent(scratch.path())) {
        std::fprintf(stderr, "No scratch working directory could be made.\n");
        return 1;
    }
    // Widgets (toasts, the menu) are tested off screen, the same on every machine; the tray
    // app's tests start the real program on the X display instead. The platform is chosen by
    // argument, so the programs the tests start do not inherit it.
    std::vector<char*> arguments(argv, argv + argc);
    char platformFlag[] = "-platform";
    char platform[] = "offscreen";
    arguments.push_back(platformFlag);
    arguments.push_back(platform);
    int count = int(arguments.size());
    arguments.push_back(nullptr);
    QApplication app(count, arguments.data());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
