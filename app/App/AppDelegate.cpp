#include "AppDelegate.h"

#include "Catalogue/OperationRegistry.h"
#include "ConversionError.h"
#include "Design/AppIcon.h"
#include "Design/TrayIcon.h"
#include "Drag/WheelWiring.h"
#include "Leftovers.h"
#include "Settings/AppSettings.h"
#include "Settings/DebugLog.h"
#include "Settings/History.h"
#include "Settings/UILanguage.h"
#include "Text/VisionTools.h"
#include "UI/FileReveal.h"
#include "UI/MenuView.h"
#include "UI/StatusMenuPanel.h"

#include <QApplication>
#include <QClipboard>
#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

namespace tramix {

AppDelegate::AppDelegate(QObject* parent)
    : AppDelegate(AppSettings::shared(), History::shared(), parent) {}

AppDelegate::AppDelegate(AppSettings& settings, History& history, QObject* parent)
    : QObject(parent)
    , settings_(settings)
    , history_(history)
    , monitor_(Desktop::createInput())
    , jobs_(settings, history) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::start() {
    settings_.appearance().apply();
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(appIcon());
    setUpStatusItem();
    // What a killed earlier run left behind.
    Leftovers::sweep();

    // Recognised text is meant to be pasted right away.
    VisionTools::setClipboardHook(
        [](const QString& text) { QApplication::clipboard()->setText(text); });

    monitor_.log = DebugLog::write;
    wheel_.log = DebugLog::write;
    WheelWiring::connect(monitor_, wheel_, bindings());
    wheel_.onDrop = [this](const FileOperation& operation, const QStringList& paths, QPoint at) {
        jobs_.run(operation, paths, at);
    };
    // The first wheel should open within a frame of its key: build the panel now, and let the
    // catalogue start libvips once the event loop runs.
    wheel_.prepare();
    QTimer::singleShot(
        0, this, [] { OperationRegistry::convertOperations({QStringLiteral("warm-up.jpg")}); });

    if (!monitor_.start())
        menu_->view().setNotice(UILanguage::text(
            QStringLiteral("Dateien beim Ziehen zu erkennen braucht eine X11-Sitzung. Hier "
                           "bleibt das Rad zu; die Befehlszeile geht weiter."),
            QStringLiteral("Seeing files while they are dragged needs an X11 session. The wheel "
                           "stays closed here; the command line still works.")));
    DebugLog::write(QStringLiteral("Tramix gestartet"));
}

void AppDelegate::setUpStatusItem() {
    auto* view = new MenuView(settings_, history_);
    menu_ = std::make_unique<StatusMenuPanel>(view);
    view->quit = [] { QCoreApplication::quit(); };
    view->openRecent = [this](const QStringList& outputs) {
        menu_->close();
        FileReveal::reveal(outputs);
    };
    view->openShelf = [this] {
        const QPoint at = menu_->geometry().center();
        menu_->close();
        jobs_.toast().show(ToastModel::State::makeFailed(describeError(
                               ConversionError::unsupported(QStringLiteral("Schwebende Ablage")))),
                           at);
    };
    // The press on the icon that closed the open menu must not open it again on release.
    menu_->onOutsidePress = [this](QPoint at) {
        if (tray_.geometry().contains(at))
            closedOnIcon_.start();
    };

    trayMenu_.addAction(UILanguage::text(QStringLiteral("Beenden"), QStringLiteral("Quit")), qApp,
                        &QCoreApplication::quit);
    tray_.setIcon(trayIcon());
    tray_.setToolTip(QStringLiteral("Tramix"));
    tray_.setContextMenu(&trayMenu_);
    connect(&tray_, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    toggleMenu();
            });
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        DebugLog::write(QStringLiteral("Kein Infobereich gefunden; Tramix läuft weiter und zeigt "
                                       "sein Symbol, sobald es einen gibt"));
    tray_.show();
}

WheelBindings AppDelegate::bindings() const {
    return {[this](ModifierKey key) { return settings_.mode(key); },
            [this] { return settings_.activation(); },
            [this](WheelMode mode, const QStringList& paths) {
                return OperationRegistry::operations(mode, paths, &desktop_, UILanguage::current());
            }};
}

void AppDelegate::pressed(ModifierKey key, const QStringList& paths) {
    WheelWiring::press(wheel_, bindings(), key, paths);
}

void AppDelegate::released(ModifierKey key) {
    WheelWiring::release(wheel_, bindings(), key);
}

QRect AppDelegate::trayAnchor() const {
    const QRect icon = tray_.geometry();
    if (icon.isValid() && !icon.isEmpty())
        return icon;
    // Trays that keep the icon's place to themselves: the click was on it, so the pointer is.
    return QRect(QCursor::pos(), QSize(1, 1));
}

void AppDelegate::toggleMenu() {
    if (menu_->isOpen()) {
        menu_->close();
        return;
    }
    if (closedOnIcon_.isValid() && closedOnIcon_.elapsed() < 400)
        return;
    menu_->showFrom(trayAnchor());
}

} // namespace tramix
