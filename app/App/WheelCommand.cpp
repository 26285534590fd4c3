#include "WheelCommand.h"

#include "BusNames.h"
#include "CommandTable.h"
#include "ConversionError.h"
#include "Platform/ScreenCheck.h"
#include "WheelMode.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

namespace tramix::WheelCommand {

namespace {

[[noreturn]] void fail(const QString& message) {
    throw ConversionError::failed(message);
}

bool registered(const QDBusConnection& bus) {
    return bus.interface()->isServiceRegistered(BusNames::service()).value();
}

// Starts the tray app on its own, outliving this command, and waits until it owns the name.
void startApp(QDBusConnection& bus) {
    if (const std::optional<QString> problem = ScreenCheck::problem())
        fail(*problem);
    QDBusServiceWatcher watcher(BusNames::service(), bus,
                                QDBusServiceWatcher::WatchForRegistration);
    QEventLoop loop;
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &loop, &QEventLoop::quit);
    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);

    QProcess app;
    app.setProgram(QCoreApplication::applicationFilePath());
    // The app must not keep the folder of the files busy (an unmount, a removed stick).
    app.setWorkingDirectory(QDir::homePath());
    // It outlives this command and whatever reads its output: a write to a closed pipe or a
    // closed terminal would end it. It has its own log.
    app.setStandardOutputFile(QProcess::nullDevice());
    app.setStandardErrorFile(QProcess::nullDevice());
    if (!app.startDetached())
        fail(QStringLiteral("Tramix ließ sich nicht starten."));
    deadline.start(startTimeoutMs);
    // It may have taken the name before the watcher listened.
    if (!registered(bus))
        loop.exec();
    if (!registered(bus))
        fail(QStringLiteral("Tramix ist gestartet, meldet sich aber nicht auf dem D-Bus."));
}

} // namespace

void run(const QStringList& args, QTextStream&) {
    if (args.size() < 2)
        fail(CommandTable::usage(CommandId::wheel));
    const std::optional<WheelMode> mode = WheelMode::fromRawValue(args[1]);
    if (!mode)
        fail(QStringLiteral("Unbekanntes Rad „%1“: convert, tools oder actions.").arg(args[1]));
    QStringList paths;
    for (const QString& arg : args.mid(2)) {
        const QFileInfo file(QDir::current().absoluteFilePath(arg));
        if (!file.exists())
            fail(QStringLiteral("„%1“ gibt es nicht.").arg(arg));
        paths.append(QDir::cleanPath(file.absoluteFilePath()));
    }

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        fail(QStringLiteral("Es gibt keine D-Bus-Sitzung (DBUS_SESSION_BUS_ADDRESS), über die "
                            "Tramix das Rad zeigen könnte."));
    if (!registered(bus))
        startApp(bus);
    // Without files the app says so on screen too: a key bound to this command has no terminal.
    QDBusMessage call = QDBusMessage::createMethodCall(
        BusNames::service(), BusNames::path(), BusNames::interface(), QStringLiteral("ShowWheel"));
    call << mode->rawValue() << paths;
    const QDBusMessage reply = bus.call(call);
    if (reply.type() == QDBusMessage::ErrorMessage)
        fail(reply.errorMessage());
    if (paths.isEmpty())
        fail(QStringLiteral("Keine Dateien ausgewählt: Der Dateimanager hat Tramix keine Auswahl "
                            "übergeben."));
}

} // namespace tramix::WheelCommand
