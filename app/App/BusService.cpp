#include "BusService.h"

#include "AppDelegate.h"
#include "BusNames.h"
#include "Settings/DebugLog.h"
#include "WheelMode.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusReply>
#include <QFileInfo>
#include <QTimer>

namespace tramix {

BusService::BusService(AppDelegate& app, QObject* parent)
    : QObject(parent)
    , app_(app) {}

bool BusService::taken() {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()->isServiceRegistered(BusNames::service()).value();
}

BusService::Claim BusService::claim() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return Claim::noBus;
    bus.registerObject(BusNames::path(), this, QDBusConnection::ExportScriptableSlots);
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        bus.interface()->registerService(BusNames::service(),
                                         QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return Claim::owned;
    bus.unregisterObject(BusNames::path());
    return Claim::taken;
}

QString BusService::pathProblem(const QStringList& paths) {
    for (const QString& path : paths) {
        const QFileInfo file(path);
        if (!file.isAbsolute())
            return QStringLiteral("„%1“ ist kein absoluter Pfad.").arg(path);
        if (!file.exists())
            return QStringLiteral("„%1“ gibt es nicht.").arg(path);
    }
    return {};
}

void BusService::ShowWheel(const QString& mode, const QStringList& paths) {
    const std::optional<WheelMode> wheel = WheelMode::fromRawValue(mode);
    if (!wheel) {
        sendErrorReply(
            QDBusError::InvalidArgs,
            QStringLiteral("Unbekanntes Rad „%1“: convert, tools oder actions.").arg(mode));
        return;
    }
    if (const QString problem = pathProblem(paths); !problem.isEmpty()) {
        sendErrorReply(QDBusError::InvalidArgs, problem);
        return;
    }
    DebugLog::write(QStringLiteral("D-Bus: Rad %1 für %2 Datei(en)").arg(mode).arg(paths.size()));
    app_.showWheel(*wheel, paths);
}

void BusService::Run(const QString& operationId, const QStringList& paths) {
    QString problem =
        paths.isEmpty() ? QStringLiteral("Keine Dateien angegeben.") : pathProblem(paths);
    if (problem.isEmpty())
        problem = app_.run(operationId, paths).value_or(QString());
    if (!problem.isEmpty()) {
        sendErrorReply(QDBusError::InvalidArgs, problem);
        return;
    }
    DebugLog::write(
        QStringLiteral("D-Bus: %1 für %2 Datei(en)").arg(operationId).arg(paths.size()));
}

void BusService::Quit() {
    DebugLog::write(QStringLiteral("D-Bus: Beenden"));
    // The reply goes out before the event loop ends.
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
}

} // namespace tramix
