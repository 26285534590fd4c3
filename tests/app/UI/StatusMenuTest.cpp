// The status menu: what it says in both languages, where it opens, what its parts do, and its
// renderings.
#include "Settings/AppSettings.h"
#include "Settings/History.h"
#include "TestFiles.h"
#include "UI/MenuView.h"
#include "UI/StatusMenuPanel.h"
#include "app/App/CliRunner.h"
#include "app/Settings/PrivateStores.h"

#include <QImage>
#include <QKeyEvent>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using tramix::test::runTramix;
using tramix::test::TestFolder;

namespace {

History::Entry entry(const QString& title, bool failed) {
    History::Entry entry;
    entry.title = title;
    entry.outputs = {"/tmp/" + title};
    entry.failed = failed;
    return entry;
}

} // namespace

TEST(StatusMenu, ContentFollowsSettingsAndHistoryInBothLanguages) {
    tramix::test::PrivateStores s;
    s.history.add(entry("PNG", false));
    s.history.add(entry("PDF teilen", true));

    const MenuContent de = MenuContent::make(s.settings, s.history, true);
    EXPECT_EQ(de.tagline, "Offline-Dateikonverter");
    EXPECT_EQ(de.settingsLabel, "Einstellungen");
    EXPECT_EQ(de.hint, "Datei ziehen, Taste antippen, loslassen.");
    EXPECT_EQ(de.hintDetail, "Datei ziehen, Taste einmal drücken: Das Rad bleibt offen, bis du die "
                             "Datei loslässt oder die Taste noch einmal drückst.");
    ASSERT_EQ(de.modes.size(), 3);
    QStringList rows;
    for (const MenuContent::ModeRow& row : de.modes)
        rows.append(row.keySymbol + " " + row.title + " " + row.examples);
    EXPECT_EQ(rows, QStringList({"⇧ Formate JPG, PDF, MP4, XLSX …",
                                 "⌘ Werkzeuge Zuschneiden, PDF teilen …",
                                 "⌃ Aktionen AirDrop, ZIP, Pfad …"}));
    EXPECT_EQ(de.total, 1);
    EXPECT_EQ(de.totalLabel, "Dateien erstellt");
    EXPECT_EQ(de.localFigure, "100 %");
    EXPECT_EQ(de.localLabel, "lokal, ohne Upload");
    EXPECT_EQ(de.recentHeading, "ZULETZT");
    ASSERT_EQ(de.recent.size(), 2);
    EXPECT_EQ(de.recent[0].title, "PDF teilen") << "newest first";
    EXPECT_TRUE(de.recent[0].failed);
    EXPECT_FALSE(de.recent[1].failed);
    EXPECT_EQ(de.dropLabel, "Dateien hier ablegen");
    EXPECT_EQ(de.dropHelp, "Schwebende Ablage öffnen: Dateien parken und später herausziehen");
    EXPECT_EQ(de.guideLabel, "Anleitung");
    EXPECT_EQ(de.quitLabel, "Beenden");

    // Hold activation has the short hint alone; a rebound key shows in its row.
    s.settings.setActivation(WheelActivation::hold);
    s.settings.assign(ModifierKey::option, WheelMode::tools);
    const MenuContent hold = MenuContent::make(s.settings, s.history, true);
    EXPECT_EQ(hold.hint, "Datei ziehen, Taste halten, loslassen.");
    EXPECT_TRUE(hold.hintDetail.isEmpty());
    EXPECT_EQ(hold.modes[1].keySymbol, "⌥");

    const MenuContent en = MenuContent::make(s.settings, s.history, false);
    EXPECT_EQ(en.hint, "Drag a file, hold a key, let go.");
    EXPECT_EQ(en.modes[0].title, "Formats");
    EXPECT_EQ(en.recentHeading, "RECENT");
    EXPECT_EQ(en.quitLabel, "Quit");
    EXPECT_EQ(en.guideLabel, "Guide");
}

TEST(StatusMenu, OpensUnderTheIconAndItsPartsDoWhatTheySay) {
    const QRect screen(0, 0, 1920, 1080);
    const QSize size(320, 600);
    // Under an icon in a top panel, centred on it and kept six points from the edge.
    EXPECT_EQ(StatusMenuPanel::origin(QRect(900, 0, 24, 24), size, screen), QPoint(752, 29));
    EXPECT_EQ(StatusMenuPanel::origin(QRect(1890, 0, 24, 24), size, screen), QPoint(1594, 29));
    EXPECT_EQ(StatusMenuPanel::origin(QRect(2, 0, 24, 24), size, screen), QPoint(6, 29));
    // Above an icon in a bottom panel.
    EXPECT_EQ(StatusMenuPanel::origin(QRect(1800, 1050, 24, 30), size, screen),
              QPoint(1594, 1050 - 5 - 600));

    tramix::test::PrivateStores s;
    auto* view = new MenuView(s.settings, s.history);
    StatusMenuPanel panel(view);
    int settings = 0, welcome = 0, shelf = 0, quit = 0;
    QStringList opened;
    view->openSettings = [&] { ++settings; };
    view->openWelcome = [&] { ++welcome; };
    view->openShelf = [&] { ++shelf; };
    view->quit = [&] { ++quit; };
    view->openRecent = [&](const QStringList& outputs) { opened = outputs; };

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
    EXPECT_EQ(panel.pos(), StatusMenuPanel::origin(QRect(400, 0, 24, 24), panel.size(),
                                                   panel.screen()->availableGeometry()));

    const MenuView::Layout layout = MenuView::layout(view->content());
    for (const MenuView::Target& target : layout.targets)
        view->activate(target.rect.center());
    EXPECT_EQ(settings, 1);
    EXPECT_EQ(welcome, 1);
    EXPECT_EQ(shelf, 1);
    EXPECT_EQ(quit, 1);
    EXPECT_EQ(opened, QStringList{"/tmp/PNG"}) << "the last recent row is the oldest job";
    view->activate(QPointF(MenuView::width / 2.0, 2));
    EXPECT_EQ(settings + welcome + shelf + quit, 4) << "the plain card does nothing";

    int closed = 0;
    panel.onClosed = [&] { ++closed; };
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&panel, &escape);
    EXPECT_FALSE(panel.isOpen());
    EXPECT_EQ(closed, 1);
}

TEST(StatusMenu, RenderCommandsDrawTheMenuAndTheIcons) {
    TestFolder folder;
    const auto light = runTramix({"--render-menu", folder.path("light.png")});
    ASSERT_EQ(light.status, 0) << light.out.toStdString();
    const auto dark = runTramix({"--render-menu", folder.path("dark.png"), "dark"});
    ASSERT_EQ(dark.status, 0) << dark.out.toStdString();
    const QImage lightImage(folder.path("light.png"));
    const QImage darkImage(folder.path("dark.png"));
    ASSERT_EQ(lightImage.width(), 2 * MenuView::width);
    EXPECT_EQ(darkImage.size(), lightImage.size());
    EXPECT_GT(lightImage.height(), lightImage.width()) << "a tall panel";
    EXPECT_EQ(lightImage.pixelColor(1, 1).alpha(), 0) << "rounded corners stay clear";
    const QPoint card(lightImage.width() - 20, lightImage.height() / 2);
    EXPECT_GT(lightImage.pixelColor(card).lightness(), 220);
    EXPECT_LT(darkImage.pixelColor(card).lightness(), 70);

    const auto icon = runTramix({"--render-icon", folder.path("icon.png")});
    ASSERT_EQ(icon.status, 0) << icon.out.toStdString();
    const QImage iconImage(folder.path("icon.png"));
    EXPECT_EQ(iconImage.size(), QSize(1024, 1024));
    EXPECT_EQ(iconImage.pixelColor(512, 512).alpha(), 255);

    const auto bar = runTramix({"--render-menubar-icon", folder.path("bar.png")});
    ASSERT_EQ(bar.status, 0) << bar.out.toStdString();
    const QImage barImage(folder.path("bar.png"));
    EXPECT_EQ(barImage.size(), QSize(44, 44));
    EXPECT_EQ(barImage.pixelColor(0, 0).alpha(), 0);

    for (const char* command : {"--render-menu", "--render-icon", "--render-menubar-icon"}) {
        const auto missing = runTramix({command});
        EXPECT_EQ(missing.out.trimmed(), "Fehler: Ausgabepfad fehlt.") << command;
        EXPECT_EQ(missing.status, 1);
    }
}
