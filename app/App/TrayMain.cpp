#include "TrayMain.h"

#include "AppDelegate.h"
#include "BusService.h"
#include "CLI.h"
#include "InputAlias.h"
#include "Platform/ScreenCheck.h"
#include "Settings/DebugLog.h"
#include "Settings/UILanguage.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <cstdio>

namespace tramix::TrayMain {

int runTrayApp(int argc, char** argv) {
    // The wheel opens at the pointer and holds it while up, which Wayland does not grant its own
    // windows: in a Wayland session the app runs through XWayland where there is one.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    // Qt would abort with a core dump; a sentence and a status are more use to anyone.
    if (const std::optional<QString> problem = ScreenCheck::problem()) {
        std::fprintf(stderr, "Fehler: %s\n", problem->toLocal8Bit().constData());
        return 1;
    }
    QApplication app(argc, argv);
    // Qt's own words (the fallback folder chooser, a text field's menu) speak the interface's
    // language too.
    QTranslator qtWords;
    if (UILanguage::german() && qtWords.load(QStringLiteral("qtbase_de"),
                                             QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&qtWords);
    // One app per session: a second start leaves the work to the first one.
    if (BusService::taken()) {
        std::fprintf(stderr, "Tramix läuft bereits.\n");
        return 0;
    }
    AppDelegate delegate;
    BusService bus(delegate);
    const BusService::Claim claim = bus.claim();
    if (claim == BusService::Claim::taken) {
        std::fprintf(stderr, "Tramix läuft bereits.\n");
        return 0;
    }
    delegate.start();
    if (claim == BusService::Claim::noBus)
        DebugLog::write(QStringLiteral("Keine D-Bus-Sitzung: „tramix --wheel“ und die "
                                       "Menüs der Dateimanager erreichen diese App nicht"));
    const int status = app.exec();
    DebugLog::flush();
    return status;
}

int runDrawing(int argc, char** argv) {
    // Drawings need fonts and a paint engine (and widgets, for the editors and the windows), but
    // never a screen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(InputAlias::forBytes(QByteArray(argv[i])));
    QTextStream out(stdout);
    return CLI::run(arguments, out);
}

} // namespace tramix::TrayMain
