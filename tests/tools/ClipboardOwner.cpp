// Puts files or their paths on the X clipboard through the file actions and serves them until
// it is ended; says "ready" once it owns the clipboard, or the action's error.
//   ClipboardOwner copy|path FILE...
#include "Actions/FileActions.h"
#include "ConversionError.h"

#include <QApplication>
#include <QClipboard>
#include <QTimer>
#include <cstdio>

using namespace tramix;

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    const DesktopHandlers desktop = FileActions::handlers();
    try {
        (args.value(1) == u"path" ? desktop.copyPaths : desktop.copyFiles)(args.mid(2));
    } catch (const ConversionError& error) {
        std::printf("error %s\n", error.what());
        return 1;
    }
    // Said from the event loop, once the claim on the selection has reached the server.
    QTimer::singleShot(0, [] {
        std::puts(QGuiApplication::clipboard()->ownsClipboard() ? "ready" : "not owner");
        std::fflush(stdout);
    });
    return app.exec();
}
