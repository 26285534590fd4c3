#include "AppDelegate.h"

#include "App/AppSettings.h"
#include "App/DebugLog.h"
#include "Design/AppIcon.h"

#include <QApplication>

namespace tramix {

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent) {}

void AppDelegate::start() {
    AppSettings::shared().appearance().apply();
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(appIcon());

    menu_.addAction(QStringLiteral("Beenden"), qApp, &QCoreApplication::quit);
    tray_.setIcon(appIcon());
    tray_.setToolTip(QStringLiteral("Tramix"));
    tray_.setContextMenu(&menu_);
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        qWarning("Tramix: Kein Infobereich gefunden; das Symbol erscheint, sobald es einen gibt.");
    tray_.show();
    DebugLog::write(QStringLiteral("Tramix gestartet"));
}

} // namespace tramix
