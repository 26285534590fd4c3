#include "AppDelegate.h"
#include "CLI.h"
#include "Settings/DebugLog.h"

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <cstdio>

namespace {

QStringList rawArguments(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

} // namespace

int main(int argc, char** argv) {
    const QStringList arguments = rawArguments(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Tramix"));
    QCoreApplication::setApplicationName(QStringLiteral("Tramix"));

    if (tramix::CLI::isCommandLine(arguments) && arguments[1].startsWith(u"--render-")) {
        // Drawings need fonts and a paint engine, but never a screen.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QGuiApplication app(argc, argv);
        QTextStream out(stdout);
        return tramix::CLI::run(arguments.mid(1), out);
    }
    if (tramix::CLI::isCommandLine(arguments)) {
        // No windowing system is needed to list or run operations.
        QCoreApplication app(argc, argv);
        QTextStream out(stdout);
        return tramix::CLI::run(arguments.mid(1), out);
    }

    QApplication app(argc, argv);
    tramix::AppDelegate delegate;
    delegate.start();
    const int status = app.exec();
    tramix::DebugLog::flush();
    return status;
}
