#include "AppDelegate.h"

#include "Actions/FileActions.h"
#include "Catalogue/OperationRegistry.h"
#include "Design/AppIcon.h"
#include "Design/TrayIcon.h"
#include "Drag/WheelWiring.h"
#include "Editors/EditorWindows.h"
#include "Leftovers.h"
#include "Screens/PermissionCard.h"
#include "Screens/SettingsView.h"
#include "Screens/WelcomeView.h"
#include "Settings/AppSettings.h"
#include "Settings/DebugLog.h"
#include "Settings/History.h"
#include "Settings/UILanguage.h"
#include "Shelf/FloatShelfController.h"
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
    , jobs_(settings, history)
    , desktop_(FileActions::handlers()) {
    desktop_.shelve = [this](const QStringList& paths) { shelf_.show(QCursor::pos(), paths); };
}

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
    shelf_.log = DebugLog::write;
    wheel_.log = DebugLog::write;
    WheelWiring::connect(monitor_, wheel_, bindings());
    wheel_.onDrop = [this](const FileOperation& operation, const QStringList& paths, QPoint at) {
        jobs_.run(operation, paths, at);
    };
    EditorWindows& editors = EditorWindows::shared();
    editors.context = [this] { return jobs_.context(); };
    editors.onResult = [this](const QString& title, const QStringList& outputs, QPoint near) {
        jobs_.finished(title, outputs, near);
    };
    // The first wheel should open within a frame of its key: build the panel now, and let the
    // catalogue start libvips once the event loop runs.
    wheel_.prepare();
    QTimer::singleShot(
        0, this, [] { OperationRegistry::convertOperations({QStringLiteral("warm-up.jpg")}); });

    monitor_.start();
    DebugLog::write(QStringLiteral("Tramix gestartet"));

    // A session that starts or stops letting us see drags gets a monitor installed anew.
    DebugLog::write(permissions_.session().summary());
    permissions_.onChange = [this](bool) {
        monitor_.stop();
        monitor_.start();
    };
    connect(&permissions_, &Permissions::changed, this, &AppDelegate::showPermissionNotice);
    connect(&permissions_, &Permissions::requested, this, &AppDelegate::showWelcome);
    showPermissionNotice();

    if (!settings_.hasSeenWelcome() || !permissions_.isTrusted())
        showWelcome();
}

// The menu says what keeps drags from being seen, and leads to the explanation.
void AppDelegate::showPermissionNotice() {
    if (permissions_.isTrusted()) {
        menu_->view().setNotice(std::nullopt);
        return;
    }
    const PermissionCard::Texts texts =
        PermissionCard::texts(permissions_.session(), true, UILanguage::german());
    menu_->view().setNotice(texts.state + u' ' + texts.advice, texts.action);
}

void AppDelegate::showSettings() {
    if (!settingsWindow_)
        settingsWindow_ = std::make_unique<SettingsView>(settings_, permissions_);
    settingsWindow_->present();
}

void AppDelegate::showWelcome() {
    if (!welcomeWindow_) {
        welcomeWindow_ = std::make_unique<WelcomeView>(settings_, permissions_);
        welcomeWindow_->onDone = [this] {
            settings_.setHasSeenWelcome(true);
            DebugLog::write(QStringLiteral("Willkommen abgeschlossen"));
            welcomeWindow_->close();
        };
    }
    welcomeWindow_->present();
    DebugLog::write(QStringLiteral("Willkommensfenster gezeigt"));
}

void AppDelegate::setUpStatusItem() {
    auto* view = new MenuView(settings_, history_);
    menu_ = std::make_unique<StatusMenuPanel>(view);
    view->quit = [] { QCoreApplication::quit(); };
    view->openSettings = [this] {
        menu_->close();
        showSettings();
    };
    view->openWelcome = [this] {
        menu_->close();
        showWelcome();
    };
    view->openNotice = [this] {
        menu_->close();
        permissions_.request();
    };
    view->openRecent = [this](const QStringList& outputs) {
        menu_->close();
        FileReveal::reveal(outputs);
    };
    view->openShelf = [this] {
        const QPoint at = menu_->geometry().center();
        menu_->close();
        shelf_.show(at);
    };
    // The press on the icon that closed the open menu must not open it again on release.
    menu_->onOutsidePress = [this](QPoint at) {
        if (tray_.geometry().contains(at))
            closedOnIcon_.start();
    };

    trayMenu_.addAction(UILanguage::text(QStringLiteral("Beenden"), QStringLiteral("Quit")), qApp,
                        &QCoreApplication::quit);
    paintTrayIcon(tray_);
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
                QList<FileOperation> operations =
                    OperationRegistry::operations(mode, paths, &desktop_, UILanguage::current());
                if (mode == WheelMode::tools)
                    return EditorWindows::shared().tools(paths, std::move(operations));
                return operations;
            }};
}

void AppDelegate::pressed(ModifierKey key, const QStringList& paths) {
    WheelWiring::press(wheel_, bindings(), key, paths);
}

void AppDelegate::released(ModifierKey key) {
    WheelWiring::release(wheel_, bindings(), key);
}

std::optional<QPoint> AppDelegate::pointer() {
    if (QGuiApplication::platformName().startsWith(u"wayland"))
        return std::nullopt;
    return QCursor::pos();
}

QPoint AppDelegate::screenCentre() {
    const QScreen* screen = QGuiApplication::screenAt(pointer().value_or(QPoint()));
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry().center() : QPoint();
}

void AppDelegate::showWheel(WheelMode mode, const QStringList& paths) {
    if (paths.isEmpty()) {
        const QString why = UILanguage::text(
            QStringLiteral("Keine Dateien ausgewählt: Der Dateimanager hat Tramix keine Auswahl "
                           "übergeben."),
            QStringLiteral("No files selected: the file manager passed no selection to Tramix."));
        DebugLog::write(QStringLiteral("Rad ohne Dateien verlangt"));
        jobs_.toast().show(ToastModel::State::makeFailed(why), pointer().value_or(screenCentre()));
        return;
    }
    // The key cap shows the key that opens this wheel during a drag, to teach it.
    ModifierKey key = ModifierKey::shift;
    for (ModifierKey candidate : ModifierKey::allCases()) {
        if (settings_.mode(candidate) == mode) {
            key = candidate;
            break;
        }
    }
    wheel_.showForFiles(mode, key, bindings().operations(mode, paths), paths, pointer());
}

std::optional<QString> AppDelegate::run(const QString& id, const QStringList& paths) {
    const WheelBindings wheels = bindings();
    for (WheelMode mode : WheelMode::allCases()) {
        for (const FileOperation& operation : wheels.operations(mode, paths)) {
            if (operation.id == id) {
                jobs_.run(operation, paths, pointer().value_or(screenCentre()));
                return std::nullopt;
            }
        }
    }
    return UILanguage::text(QStringLiteral("Operation %1 passt nicht zu diesen Dateien."),
                            QStringLiteral("Operation %1 does not fit these files."))
        .arg(id);
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
