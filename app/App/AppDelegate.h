// Owns the tray app's long-lived parts for the life of the process.
#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

namespace tramix {

class AppDelegate : public QObject {
    Q_OBJECT
public:
    explicit AppDelegate(QObject* parent = nullptr);

    // Puts the icon in the tray; without a tray the app keeps running and says why.
    void start();

private:
    QMenu menu_;
    QSystemTrayIcon tray_;
};

} // namespace tramix
