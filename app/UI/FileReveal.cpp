#include "FileReveal.h"

#include "Settings/DebugLog.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace tramix::FileReveal {

namespace {

void openFolder(const QString& path) {
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
        DebugLog::write(QStringLiteral("Ordner %1 ließ sich nicht öffnen").arg(folder));
}

} // namespace

void reveal(const QStringList& paths) {
    reveal(paths, QDBusConnection::sessionBus());
}

void reveal(const QStringList& paths, QDBusConnection bus) {
    if (paths.isEmpty())
        return;
    if (!bus.isConnected()) {
        openFolder(paths.first());
        return;
    }
    QStringList uris;
    for (const QString& path : paths)
        uris.append(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString();
    // Starting a file manager can take a moment; the interface must not wait for it.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000));
    const QString first = paths.first();
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [first](QDBusPendingCallWatcher* finished) {
                         const QDBusPendingReply<> reply = *finished;
                         if (reply.isError()) {
                             DebugLog::write(QStringLiteral("Dateimanager antwortet nicht (%1)")
                                                 .arg(reply.error().message()));
                             openFolder(first);
                         }
                         finished->deleteLater();
                     });
}

} // namespace tramix::FileReveal
