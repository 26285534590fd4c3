// The tray app's root: owns the drag monitor, the wheel and the job centre for the life of the
// process, wires them together and keeps the tray icon with its menu panel.
#pragma once

#include "Catalogue/DesktopHandlers.h"
#include "Drag/DragMonitor.h"
#include "Drag/WheelController.h"
#include "Drag/WheelWiring.h"
#include "Jobs/JobCenter.h"
#include "Settings/ModifierKey.h"
#include "Shelf/FloatShelfController.h"

#include <QElapsedTimer>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <memory>

namespace tramix {

class AppSettings;
class History;
class StatusMenuPanel;

class AppDelegate : public QObject {
    Q_OBJECT
public:
    explicit AppDelegate(QObject* parent = nullptr);
    AppDelegate(AppSettings& settings, History& history, QObject* parent = nullptr);
    ~AppDelegate() override;

    // Starts up: appearance, tray icon and menu, the drag chain. Without a tray or without a
    // way to watch drags the app keeps running and says why in the log.
    void start();

    DragMonitor& monitor() { return monitor_; }
    WheelController& wheel() { return wheel_; }
    JobCenter& jobs() { return jobs_; }
    FloatShelfController& shelf() { return shelf_; }
    StatusMenuPanel& menu() { return *menu_; }

    // A modifier key went down during a file drag: opens the wheel bound to it, if any.
    void pressed(ModifierKey key, const QStringList& paths);
    // A modifier key came up: closes a held wheel opened by that key.
    void released(ModifierKey key);
    void toggleMenu();

private:
    void setUpStatusItem();
    WheelBindings bindings() const;
    QRect trayAnchor() const;

    AppSettings& settings_;
    History& history_;
    DragMonitor monitor_;
    WheelController wheel_;
    JobCenter jobs_;
    // Files parked for later; the list outlives the panel and the app.
    FloatShelfController shelf_;
    // What the actions do on this desktop; an action without a handler says it is not built.
    DesktopHandlers desktop_;
    QMenu trayMenu_;
    QSystemTrayIcon tray_;
    std::unique_ptr<StatusMenuPanel> menu_;
    QElapsedTimer closedOnIcon_;
};

} // namespace tramix
