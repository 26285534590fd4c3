// The delegate's wiring: which key opens which wheel with which operations, and when a held
// wheel closes.
#include "App/AppDelegate.h"

#include "Catalogue/OperationRegistry.h"
#include "Editors/EditorWindows.h"
#include "TestFiles.h"
#include "UI/MenuView.h"
#include "UI/StatusMenuPanel.h"
#include "app/Settings/PrivateStores.h"
#include "app/Settings/ScratchLog.h"

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
