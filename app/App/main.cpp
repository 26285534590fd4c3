#include "AppDelegate.h"
#include "BusService.h"
#include "CLI.h"
#include "CommandTable.h"
#include "EngineLog.h"
#include "InputAlias.h"
#include "Platform/ScreenCheck.h"
#include "Settings/DebugLog.h"
#include "Settings/UILanguage.h"

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <cstdio>

namespace {

// Names that are not UTF-8 still open: InputAlias gives them a readable one.
QStringList rawArguments(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(tramix::InputAlias::forBytes(QByteArray(argv[i])));
    return arguments;
}

// The engine's notes (tools' own error texts and the like) belong in the debug log, not on the
// terminal or in a message.
void routeEngineLog() {
    static const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext& context, const QString& message) {
            if (context.category && qstrcmp(context.category, engineLog().categoryName()) == 0)
                tramix::DebugLog::write(message);
            else if (previous)
                previous(type, context, message);
        });
}

bool draws(const QString& command) {
    const tramix::CommandRow* row = tramix::CommandTable::find(command);
    return row && row->draws;
}

int runTrayApp(int argc, char** argv) {
    // The wheel opens at the pointer and holds it while up, which Wayland does not grant its own
    // windows: in a Wayland session the app runs through XWayland where there is one.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    // Qt would abort with a core dump; a sentence and a status are more use to anyone.
    if (const std::optional<QString> problem = tramix::ScreenCheck::problem()) {
        std::fprintf(stderr, "Fehler: %s\n", problem->toLocal8Bit().constData());
        return 1;
    }
    QApplication app(argc, argv);
    // Qt's own words (the fallback folder chooser, a text field's menu) speak the interface's
    // language too.
    QTranslator qtWords;
    if (tramix::UILanguage::german() &&
        qtWords.load(QStringLiteral("qtbase_de"),
                     QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&qtWords);
    // One app per session: a second start leaves the work to the first one.
    if (tramix::BusService::taken()) {
        std::fprintf(stderr, "Tramix läuft bereits.\n");
        return 0;
    }
    tramix::AppDelegate delegate;
    tramix::BusService bus(delegate);
    const tramix::BusService::Claim claim = bus.claim();
    if (claim == tramix::BusService::Claim::taken) {
        std::fprintf(stderr, "Tramix läuft bereits.\n");
        return 0;
    }
    delegate.start();
    if (claim == tramix::BusService::Claim::noBus)
        tramix::DebugLog::write(QStringLiteral("Keine D-Bus-Sitzung: „tramix --wheel“ und die "
                                               "Menüs der Dateimanager erreichen diese App nicht"));
    const int status = app.exec();
    tramix::DebugLog::flush();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    routeEngineLog();
    const QStringList arguments = rawArguments(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Tramix"));
    QCoreApplication::setApplicationName(QStringLiteral("Tramix"));

    if (!tramix::CLI::isCommandLine(arguments))
        return runTrayApp(argc, argv);
    QTextStream out(stdout);
    if (draws(arguments[1])) {
        // Drawings need fonts and a paint engine (and widgets, for the editors and the
        // windows), but never a screen.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QApplication app(argc, argv);
        return tramix::CLI::run(arguments.mid(1), out);
    }
    // No windowing system is needed to list or run operations.
    QCoreApplication app(argc, argv);
    const int status = tramix::CLI::run(arguments.mid(1), out);
    tramix::DebugLog::flush();
    return status;
}
