// The tray app's root: owns the drag monitor, the wheel and the job centre for the life of the
// process, wires them together and keeps the tray icon with its menu panel.
#pragma once

#include "Catalogue/DesktopHandlers.h"
#include "Drag/DragMonitor.h"
#include "Drag/WheelController.h"
#include "Drag/WheelWiring.h"
#include "Jobs/JobCenter.h"
#include "Screens/Permissions.h"
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
class SettingsView;
class StatusMenuPanel;
class WelcomeView;

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
    Permissions& permissions() { return permissions_; }
    // The windows, once they were asked for; none before.
    SettingsView* settingsWindow() { return settingsWindow_.get(); }
    WelcomeView* welcomeWindow() { return welcomeWindow_.get(); }

    // A modifier key went down during a file drag: opens the wheel bound to it, if any.
    void pressed(ModifierKey key, const QStringList& paths);
    // A modifier key came up: closes a held wheel opened by that key.
    void released(ModifierKey key);
    void toggleMenu();
    // Opens the wheel of `mode` for files named outside a drag (the file manager's menu, the
    // command line); without files a toast says why none opens.
    void showWheel(WheelMode mode, const QStringList& paths);
    // Runs the operation `id` on `paths` through the job centre, as a drop would; the sentence
    // why not when it does not fit them.
    std::optional<QString> run(const QString& id, const QStringList& paths);
    // Opens the window, or brings the open one to the front.
    void showSettings();
    void showWelcome();

private:
    void setUpStatusItem();
    void showPermissionNotice();
    WheelBindings bindings() const;
    QRect trayAnchor() const;
    // Where the pointer is; none where the platform does not say (a Wayland session).
    static std::optional<QPoint> pointer();
    // The middle of the screen under the pointer, or of the primary one.
    static QPoint screenCentre();

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
    Permissions permissions_;
    std::unique_ptr<SettingsView> settingsWindow_;
    std::unique_ptr<WelcomeView> welcomeWindow_;
    QElapsedTimer closedOnIcon_;
};

} // namespace tramix
