// The welcome window: the keys as the settings have them, a demo wheel that moves by itself and
// can run nothing, the session's card, and the button that finishes it.
#include "Screens/WelcomeView.h"

#include "ConversionError.h"
#include "Screens/ActionButton.h"
#include "Screens/DemoWheel.h"
#include "Screens/KeyLegend.h"
#include "Screens/PermissionCard.h"
#include "Screens/Permissions.h"
#include "app/Settings/PrivateStores.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;

TEST(WelcomeView, NamesTheKeysAnimatesItsWheelFollowsTheSessionAndFinishesWithItsButton) {
    test::PrivateStores s;
    DragSession now{DragSession::Kind::x11, true, true};
    Permissions permissions([&] { return now; });
    WelcomeView view(s.settings, permissions, true);
    EXPECT_EQ(view.windowTitle(), "Willkommen bei Tramix");
    int done = 0;
    view.onDone = [&] { ++done; };

    auto* legend = view.findChild<KeyLegend*>();
    ASSERT_NE(legend, nullptr);
    EXPECT_EQ(legend->entries(),
              QStringList({"Umschalt Formate", "Super Werkzeuge", "Strg Aktionen"}));
    s.settings.assign(ModifierKey::control, WheelMode::convert);
    EXPECT_EQ(legend->entries(),
              QStringList({"Strg Formate", "Super Werkzeuge", "Umschalt Aktionen"}));
    EXPECT_EQ(view.demo().model().key(), ModifierKey::control) << "the demo opens with that key";

    // The demo wheel opens by itself and the file passes from one segment to the next.
    WheelModel& demo = view.demo().model();
    for (const FileOperation& operation : demo.operations())
        EXPECT_TRUE(operation.id.startsWith("demo.")) << operation.id.toStdString();
    EXPECT_EQ(demo.operations().value(1).detail, "In PNG umwandeln");
    view.present();
    ASSERT_TRUE(QTest::qWaitFor([&] { return demo.hovered() == 0; }, DemoWheel::cycleMs));
    ASSERT_TRUE(QTest::qWaitFor([&] { return demo.hovered() == 1; }, DemoWheel::cycleMs));
    EXPECT_THROW(demo.operations().first().perform({s.folder.file("a.heic")}, {}), ConversionError);

    auto* card = view.findChild<PermissionCard*>();
    ASSERT_NE(card, nullptr);
    now = {DragSession::Kind::wayland, false, false};
    permissions.refresh();
    EXPECT_EQ(card->accessibleName(), PermissionCard::texts(now, false, true).state);

    // Return presses the focused "Los geht's".
    EXPECT_EQ(view.doneButton().text(), "Los geht's");
    QTest::keyClick(&view.doneButton(), Qt::Key_Return);
    EXPECT_EQ(done, 1);

    WelcomeView english(s.settings, permissions, false);
    EXPECT_EQ(english.windowTitle(), "Welcome to Tramix");
    EXPECT_EQ(english.doneButton().text(), "Get started");
    EXPECT_EQ(english.findChild<KeyLegend*>()->entries().first(), "Ctrl Formats");
    EXPECT_EQ(english.demo().model().operations().value(1).detail, "Convert to PNG");
}
