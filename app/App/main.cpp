#include "CLI.h"
#include "CommandTable.h"
#include "ConversionError.h"
#include "DesktopLibrary.h"
#include "EngineLog.h"
#include "Engines/EngineModule.h"
#include "InputAlias.h"
#include "Settings/DebugLog.h"

#include <QCoreApplication>
#include <cstdio>

#ifdef __SANITIZE_ADDRESS__
// The engines come in through dlopen, so their thread-local storage is allocated on first use;
// this compiler's leak checker crashes at exit when it follows those allocations (a known fault
// of its runtime), so it leaves them to the rest of the scan.
extern "C" const char* __lsan_default_options() {
    return "intercept_tls_get_addr=0";
}
#endif

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

// The tray app and the drawings need widgets and every engine: only they open the desktop
// library, so that listing and converting start with the light core alone.
const tramix::DesktopLibrary* desktop() {
    try {
        return &tramix::EngineModule::table<tramix::DesktopLibrary>();
    } catch (const tramix::ConversionError& error) {
        std::fprintf(stderr, "Fehler: %s\n", error.what());
        return nullptr;
    }
}

} // namespace

int main(int argc, char** argv) {
    routeEngineLog();
    const QStringList arguments = rawArguments(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Tramix"));
    QCoreApplication::setApplicationName(QStringLiteral("Tramix"));

    const bool commandLine = tramix::CLI::isCommandLine(arguments);
    if (!commandLine || draws(arguments[1])) {
        const tramix::DesktopLibrary* library = desktop();
        if (!library)
            return 1;
        return commandLine ? library->runDrawing(argc, argv) : library->runTrayApp(argc, argv);
    }
    // No windowing system is needed to list or run operations.
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    const int status = tramix::CLI::run(arguments.mid(1), out);
    tramix::DebugLog::flush();
    return status;
}
