// The status menu: what it says in both languages, where it opens and what its parts do.
#include "UI/MenuView.h"
#include "UI/StatusMenuPanel.h"
#include "app/Settings/PrivateStores.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;

namespace {

History::Entry entry(const QString& title, bool failed) {
    History::Entry entry;
    entry.title = title;
    entry.outputs = {"/tmp/" + title};
    entry.failed = failed;
    return entry;
}

} // namespace

TEST(StatusMenu, ContentFollowsSettingsHistoryAndLanguage) {
    tramix::test::PrivateStores s;
    s.history.add(entry("PNG", false));
    s.history.add(entry("PDF teilen", true));

    const MenuContent de = MenuContent::make(s.settings, s.history, true);
    EXPECT_EQ(de.hint, "Datei ziehen, Taste antippen, loslassen.");
    EXPECT_FALSE(de.hintDetail.isEmpty()) << "a tapped key needs explaining";
    QStringList keys;
    for (const MenuContent::ModeRow& row : de.modes)
        keys.append(row.keyName + " " + row.title);
    EXPECT_EQ(keys, QStringList({"Umschalt Formate", "Super Werkzeuge", "Strg Aktionen"}));
    EXPECT_EQ(de.total, 1);
    ASSERT_EQ(de.recent.size(), 2);
    EXPECT_EQ(de.recent[0].title, "PDF teilen") << "newest first";
    EXPECT_TRUE(de.recent[0].failed);
    EXPECT_FALSE(de.recent[1].failed);

    // Hold activation has the short hint alone; a rebound key shows in its row.
    s.settings.setActivation(WheelActivation::hold);
    s.settings.assign(ModifierKey::option, WheelMode::tools);
    const MenuContent hold = MenuContent::make(s.settings, s.history, true);
    EXPECT_EQ(hold.hint, "Datei ziehen, Taste halten, loslassen.");
    EXPECT_TRUE(hold.hintDetail.isEmpty());
    EXPECT_EQ(hold.modes[1].keyName, "Alt");

    const MenuContent en = MenuContent::make(s.settings, s.history, false);
    EXPECT_EQ(en.hint, "Drag a file, hold a key, let go.");
    EXPECT_EQ(en.modes[0].title, "Formats");
    EXPECT_EQ(en.modes[0].keyName, "Shift");
    EXPECT_EQ(en.quitLabel, "Quit");
}

TEST(StatusMenu, OpensUnderTheIconAndItsPartsDoWhatTheySay) {
    // Under an icon in a top panel it is kept six points from the screen's edge; the tray
    // test sees the rest. Above an icon in a bottom panel.
    const QRect screen(0, 0, 1920, 1080);
    const QSize size(320, 600);
    EXPECT_EQ(StatusMenuPanel::origin(QRect(1890, 0, 24, 24), size, screen), QPoint(1594, 29));
    EXPECT_EQ(StatusMenuPanel::origin(QRect(1800, 1050, 24, 30), size, screen),
              QPoint(1594, 1050 - 5 - 600));

    tramix::test::PrivateStores s;
    auto* view = new MenuView(s.settings, s.history);
    StatusMenuPanel panel(view);
    QStringList done, opened;
    view->openSettings = [&] { done.append("settings"); };
    view->openWelcome = [&] { done.append("welcome"); };
    view->openShelf = [&] { done.append("shelf"); };
    view->openNotice = [&] { done.append("notice"); };
    view->quit = [&] { done.append("quit"); };
    view->openRecent = [&](const QStringList& outputs) { opened.append(outputs); };

    // New history grows the menu, and an open panel follows its content.
    QSignalSpy resized(view, &MenuView::contentResized);
    const qreal before = MenuView::layout(view->content()).height;
    s.history.add(entry("PNG", false));
    s.history.add(entry("WEBP", false));
    EXPECT_GT(MenuView::layout(view->content()).height, before);
    EXPECT_FALSE(resized.isEmpty());
    panel.showFrom(QRect(400, 0, 24, 24));
    ASSERT_TRUE(panel.isOpen());
    EXPECT_EQ(panel.size(), view->sizeHint());

    // A notice with a way on is one more target; without one it is plain text.
    view->setNotice(QStringLiteral("In dieser Wayland-Sitzung sieht Tramix nichts."));
    const qsizetype plain = MenuView::layout(view->content()).targets.size();
    view->setNotice(QStringLiteral("In dieser Wayland-Sitzung sieht Tramix nichts."),
                    QStringLiteral("Mehr dazu"));
    EXPECT_EQ(MenuView::layout(view->content()).targets.size(), plain + 1);
    for (const MenuView::Target& target : MenuView::layout(view->content()).targets)
        view->activate(target.rect.center());
    view->activate(QPointF(MenuView::width / 2.0, 2)); // the plain card does nothing
    done.sort();
    EXPECT_EQ(done, QStringList({"notice", "quit", "settings", "shelf", "welcome"}));
    EXPECT_EQ(opened, QStringList({"/tmp/WEBP", "/tmp/PNG"})) << "recent rows, newest first";
}
