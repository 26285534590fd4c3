// Whether the session lets the app see drags: the answer of the X server, a change of it as the
// log and the owner hear it, and what the card says about each kind of session.
#include "Screens/Permissions.h"

#include "Screens/PermissionCard.h"
#include "TestFiles.h"
#include "app/Settings/ScratchLog.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using Kind = DragSession::Kind;

TEST(DragSession, TheTestDisplayHasWhatDragDetectionNeedsAndAMissingOneHasNothing) {
    const QByteArray display = qgetenv("DISPLAY");
    if (display.isEmpty())
        GTEST_SKIP() << "needs an X display (scripts/test starts Xvfb)";
    const DragSession session = Desktop::probeX11(display);
    EXPECT_NE(session.kind, Kind::none);
    EXPECT_TRUE(session.xfixes);
    EXPECT_TRUE(session.xinput21);
    EXPECT_TRUE(session.supportsGlobalDrags());

    EXPECT_EQ(Desktop::probeX11(":4711"), DragSession{});
    EXPECT_FALSE(DragSession({Kind::wayland, true, true}).supportsGlobalDrags());
    EXPECT_FALSE(DragSession({Kind::x11, true, false}).supportsGlobalDrags());
    // The tests run off screen, where no session shows drags.
    EXPECT_EQ(Desktop::dragSessionSource()().kind, Kind::none);
}

TEST(Permissions, ASessionTurningWaylandOnlyIsLoggedOnceReportedAndUndoneByTheTimer) {
    test::TestFolder folder;
    test::ScratchLog log(folder.path("state"));
    DragSession now{Kind::x11, true, true};
    Permissions permissions([&] { return now; });
    ASSERT_TRUE(permissions.isTrusted());
    QList<bool> reported;
    permissions.onChange = [&](bool trusted) { reported.append(trusted); };
    QSignalSpy changed(&permissions, &Permissions::changed);

    now = {Kind::wayland, false, false};
    permissions.refresh();
    permissions.refresh();
    EXPECT_FALSE(permissions.isTrusted());
    EXPECT_EQ(reported, QList<bool>{false});
    EXPECT_EQ(log.messages().count("Bedienungshilfen: nicht erlaubt"), 1);
    EXPECT_EQ(changed.size(), 1);

    // The same trust in another session is no change of trust, but the views hear of it.
    now = {Kind::xwayland, true, true};
    ASSERT_TRUE(QTest::qWaitFor([&] { return permissions.isTrusted(); },
                                3 * Permissions::refreshIntervalMs))
        << "the timer never read the source again";
    now = {Kind::x11, true, true};
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return changed.size() == 3; }, 3 * Permissions::refreshIntervalMs));
    EXPECT_EQ(reported, QList<bool>({false, true}));
    EXPECT_EQ(log.messages().filter("Bedienungshilfen").size(), 2);

    QSignalSpy requested(&permissions, &Permissions::requested);
    permissions.request();
    EXPECT_EQ(requested.size(), 1);
}

TEST(PermissionCard, SaysWhatIsMissingWhatToDoAndOffersAWayOnOnlyWhereThereIsOne) {
    using Card = PermissionCard;
    const DragSession x11{Kind::x11, true, true};
    const DragSession xwayland{Kind::xwayland, true, true};
    const DragSession wayland{Kind::wayland, false, false};
    const DragSession noXInput{Kind::x11, true, false};

    EXPECT_EQ(Card::level(x11), Card::Level::ready);
    EXPECT_EQ(Card::level(xwayland), Card::Level::limited);
    EXPECT_EQ(Card::level(wayland), Card::Level::missing);
    EXPECT_EQ(Card::level(DragSession{}), Card::Level::missing);

    // Nothing to do where drags are seen; the compact card leads on wherever they are not.
    EXPECT_FALSE(Card::texts(x11, true, true).action);
    EXPECT_EQ(Card::texts(wayland, true, true).action, "Mehr dazu");
    EXPECT_EQ(Card::texts(xwayland, true, false).action, "Learn more");
    EXPECT_FALSE(Card::texts(wayland, false, true).action) << "the full card is the explanation";

    const Card::Texts full = Card::texts(wayland, false, true);
    EXPECT_TRUE(full.state.contains("Wayland-Sitzung")) << full.state.toStdString();
    EXPECT_TRUE(full.advice.contains("X11-Sitzung"));
    EXPECT_TRUE(full.advice.contains("tramix --help"));
    EXPECT_TRUE(Card::texts(xwayland, false, true).state.contains("XWayland"));
    // Only what is missing is named.
    const QString lacking = Card::texts(noXInput, false, true).state;
    EXPECT_TRUE(lacking.contains("XInput 2.1") && !lacking.contains("XFixes"))
        << lacking.toStdString();
    EXPECT_TRUE(Card::texts(noXInput, false, false).state.startsWith("The X server lacks"));

    // The card follows the session.
    DragSession now = x11;
    Permissions permissions([&] { return now; });
    PermissionCard card(permissions, true, true);
    EXPECT_EQ(card.accessibleName(), Card::texts(x11, true, true).state);
    now = wayland;
    permissions.refresh();
    EXPECT_EQ(card.accessibleName(), Card::texts(wayland, true, true).state);
}
