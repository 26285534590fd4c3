// The delegate's wiring: which key opens which wheel with which operations, and when a held
// wheel closes.
#include "App/AppDelegate.h"

#include "Catalogue/OperationRegistry.h"
#include "Editors/EditorWindows.h"
#include "Screens/SettingsView.h"
#include "Screens/WelcomeView.h"
#include "TestFiles.h"
#include "UI/MenuView.h"
#include "UI/StatusMenuPanel.h"
#include "app/Settings/PrivateStores.h"
#include "app/Settings/ScratchLog.h"

#include <QApplication>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using tramix::test::ids;

TEST(AppDelegate, KeysOpenTheirWheelsWithTheirOperationsAndAHeldWheelClosesWithItsKey) {
    tramix::test::PrivateStores stores;
    tramix::test::ScratchLog log(stores.folder.path("state"));
    AppDelegate delegate(stores.settings, stores.history);
    delegate.start();
    const QStringList photo = {stores.folder.file("photo.jpg")};
    WheelModel& wheel = delegate.wheel().model();

    // Option opens nothing with the default keys.
    delegate.pressed(ModifierKey::option, photo);
    EXPECT_FALSE(QTest::qWaitFor([&] { return wheel.visible(); }, 300));

    delegate.pressed(ModifierKey::shift, photo);
    ASSERT_TRUE(QTest::qWaitFor([&] { return delegate.wheel().isUp(); }));
    EXPECT_EQ(wheel.mode(), WheelMode::convert);
    EXPECT_EQ(wheel.key(), ModifierKey::shift);
    EXPECT_EQ(ids(wheel.operations()), ids(OperationRegistry::convertOperations(photo)));
    // A second key switches the contents in place.
    delegate.pressed(ModifierKey::command, photo);
    EXPECT_EQ(wheel.mode(), WheelMode::tools);
    // The tools wheel also opens the editors that fit the files.
    EXPECT_EQ(ids(wheel.operations()),
              ids(EditorWindows::shared().tools(photo, OperationRegistry::toolOperations(photo))));
    delegate.pressed(ModifierKey::control, photo);
    EXPECT_EQ(wheel.mode(), WheelMode::actions);
    EXPECT_EQ(ids(wheel.operations()),
              ids(OperationRegistry::operations(WheelMode::actions, photo)));
    // Toggle activation: releasing the key leaves the wheel open.
    delegate.released(ModifierKey::control);
    QTest::qWait(300);
    EXPECT_TRUE(delegate.wheel().isUp());
    delegate.wheel().hide(0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !delegate.wheel().isUp(); }));

    // Hold activation: only the key that opened the wheel closes it.
    stores.settings.setActivation(WheelActivation::hold);
    delegate.pressed(ModifierKey::shift, photo);
    ASSERT_TRUE(QTest::qWaitFor([&] { return delegate.wheel().isUp(); }));
    delegate.released(ModifierKey::command);
    QTest::qWait(300);
    EXPECT_TRUE(delegate.wheel().isUp()) << "another key's release closed the wheel";
    delegate.released(ModifierKey::shift);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !delegate.wheel().isUp(); }));

    // Off screen there is neither a tray nor a way to watch drags; the app says so.
    const QStringList messages = log.messages();
    EXPECT_TRUE(messages.contains("Tramix gestartet"));
    EXPECT_TRUE(messages.filter("Kein Infobereich").size() == 1)
        << messages.join('\n').toStdString();
    EXPECT_TRUE(delegate.menu().view().content().notice.has_value());
}

TEST(AppDelegate, TheMenusButtonsOpenOneWindowEachAndASessionChangeRestartsTheMonitor) {
    tramix::test::PrivateStores stores;
    tramix::test::ScratchLog log(stores.folder.path("state"));
    AppDelegate delegate(stores.settings, stores.history);
    delegate.start();
    // Off screen no drags are seen: the welcome explains it, whatever was seen before.
    ASSERT_NE(delegate.welcomeWindow(), nullptr);
    EXPECT_TRUE(delegate.welcomeWindow()->isVisible());

    MenuView& menu = delegate.menu().view();
    const auto click = [&](MenuView::Target::Kind kind) {
        for (const MenuView::Target& target : MenuView::layout(menu.content()).targets)
            if (target.kind == kind)
                return menu.activate(target.rect.center());
        ADD_FAILURE() << "the menu has no target " << kind;
    };
    const auto visibleSettings = [] {
        qsizetype count = 0;
        for (QWidget* window : QApplication::topLevelWidgets())
            count += qobject_cast<SettingsView*>(window) && window->isVisible();
        return count;
    };
    click(MenuView::Target::settings);
    SettingsView* settings = delegate.settingsWindow();
    ASSERT_NE(settings, nullptr);
    EXPECT_TRUE(settings->isVisible());
    click(MenuView::Target::settings);
    EXPECT_EQ(delegate.settingsWindow(), settings) << "the open window comes to the front";
    EXPECT_EQ(visibleSettings(), 1);

    delegate.welcomeWindow()->close();
    click(MenuView::Target::guide);
    EXPECT_TRUE(delegate.welcomeWindow()->isVisible()) << "the guide shows it always";
    delegate.welcomeWindow()->onDone();
    EXPECT_TRUE(stores.settings.hasSeenWelcome());
    EXPECT_FALSE(delegate.welcomeWindow()->isVisible());

    // The menu's notice leads to the explanation.
    ASSERT_TRUE(menu.content().noticeAction.has_value());
    click(MenuView::Target::notice);
    EXPECT_TRUE(delegate.welcomeWindow()->isVisible());

    // A session that starts showing drags, and one that stops: one line each, a monitor
    // started anew each time, and the notice gone while drags are seen.
    const auto restarts = [&] { return log.messages().filter("Drag-Erkennung").size(); };
    const qsizetype before = restarts();
    tramix::DragSession now{tramix::DragSession::Kind::x11, true, true};
    delegate.permissions().setSource([&] { return now; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return delegate.permissions().isTrusted(); }));
    EXPECT_EQ(restarts(), before + 1);
    EXPECT_FALSE(menu.content().notice.has_value());
    now = {tramix::DragSession::Kind::wayland, false, false};
    ASSERT_TRUE(QTest::qWaitFor([&] { return !delegate.permissions().isTrusted(); }));
    EXPECT_EQ(restarts(), before + 2);
    EXPECT_TRUE(menu.content().notice.has_value());
    const QStringList messages = log.messages();
    EXPECT_EQ(messages.count("Bedienungshilfen: erlaubt"), 1);
    EXPECT_EQ(messages.count("Bedienungshilfen: nicht erlaubt"), 1);
}
