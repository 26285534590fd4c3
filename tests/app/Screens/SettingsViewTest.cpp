// The settings window as a keyboard user meets it: every control named and reached by Tab, each
// change stored at once, a key taken from another wheel swapped, the folder chooser's answer
// (or its cancel) kept, and the window back where it stood.
#include "Screens/SettingsView.h"

#include "Screens/LevelSlider.h"
#include "Screens/Permissions.h"
#include "Screens/SegmentedControl.h"
#include "Screens/ToggleSwitch.h"
#include "app/Settings/PrivateStores.h"

#include <QApplication>
#include <QLabel>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;

namespace {

template <class Control> Control* named(QWidget& root, const QString& name) {
    for (Control* control : root.findChildren<Control*>())
        if (control->accessibleName() == name)
            return control;
    ADD_FAILURE() << "no control named " << name.toStdString();
    return nullptr;
}

DragSession x11() {
    return {DragSession::Kind::x11, true, true};
}

} // namespace

TEST(SettingsView, EveryControlIsNamedAndReachedByTabAndStoresItsSettingAtOnce) {
    test::PrivateStores s;
    Permissions permissions(x11);
    SettingsView view(s.settings, permissions, true);
    EXPECT_EQ(view.windowTitle(), "Tramix – Einstellungen");
    view.present();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));

    // Tab walks through every control once, each with a name a screen reader can say.
    QWidget* first = QApplication::focusWidget();
    ASSERT_NE(first, nullptr);
    QStringList names;
    for (QWidget* at = first; names.size() < 20;) {
        names.append(at->accessibleName());
        QTest::keyClick(at, Qt::Key_Tab);
        at = QApplication::focusWidget();
        if (at == first)
            break;
    }
    EXPECT_EQ(names, QStringList({"Rad öffnen durch", "Taste für Formate", "Taste für Werkzeuge",
                                  "Taste für Aktionen", "Ergebnisse speichern", "Qualität",
                                  "Erscheinungsbild", "Ton, wenn etwas fertig ist",
                                  "Bei der Anmeldung starten"}));

    // Ctrl for the formats wheel: the arrow only moves the focus, Space chooses, and the
    // actions wheel, which had Ctrl, takes Shift and shows it at once.
    auto* formats = named<SegmentedControl>(view, "Taste für Formate");
    auto* actions = named<SegmentedControl>(view, "Taste für Aktionen");
    QTest::keyClick(formats, Qt::Key_Right);
    EXPECT_EQ(s.settings.keys().at(WheelMode::convert), ModifierKey::shift);
    QTest::keyClick(formats, Qt::Key_Space);
    EXPECT_EQ(s.settings.keys().at(WheelMode::convert), ModifierKey::control);
    EXPECT_EQ(s.settings.keys().at(WheelMode::actions), ModifierKey::shift);
    EXPECT_EQ(actions->options().value(actions->current().value_or(-1)), "Umschalt");
    // A change made elsewhere shows too.
    s.settings.assign(ModifierKey::option, WheelMode::tools);
    EXPECT_EQ(named<SegmentedControl>(view, "Taste für Werkzeuge")->current(), 2);

    // Where nothing is swapped, the choice follows the arrow keys.
    QTest::keyClick(named<SegmentedControl>(view, "Rad öffnen durch"), Qt::Key_Right);
    EXPECT_EQ(s.settings.activation(), WheelActivation::hold);
    auto* quality = named<LevelSlider>(view, "Qualität");
    QTest::keyClick(quality, Qt::Key_PageDown);
    EXPECT_DOUBLE_EQ(s.settings.quality(), 0.75);
    QStringList shown;
    for (const QLabel* label : view.findChildren<QLabel*>())
        shown.append(label->text());
    EXPECT_TRUE(shown.contains("75 %")) << shown.join(" | ").toStdString();
    QTest::keyClick(named<ToggleSwitch>(view, "Ton, wenn etwas fertig ist"), Qt::Key_Space);
    EXPECT_FALSE(s.settings.playSound());

    // A cancelled folder choice leaves the results beside their originals; a chosen folder
    // takes them and shows its row.
    QStringList asked;
    std::optional<QString> answer;
    view.chooseFolder = [&](const QString& start) {
        asked.append(start);
        return answer;
    };
    auto* destination = named<SegmentedControl>(view, "Ergebnisse speichern");
    const int shortHeight = view.height();
    QTest::keyClick(destination, Qt::Key_Right);
    QTest::keyClick(destination, Qt::Key_Space);
    EXPECT_EQ(asked.size(), 1);
    EXPECT_TRUE(s.settings.writeNextToOriginal());
    EXPECT_EQ(destination->current(), 0);
    answer = s.folder.folder("Ergebnisse");
    QTest::keyClick(destination, Qt::Key_Right);
    QTest::keyClick(destination, Qt::Key_Space);
    EXPECT_FALSE(s.settings.writeNextToOriginal());
    EXPECT_EQ(s.settings.outputFolder(), s.folder.path("Ergebnisse"));
    EXPECT_GT(view.height(), shortHeight) << "the folder's row shows";
    // Back beside the originals, the folder is kept for the next time.
    QTest::keyClick(destination, Qt::Key_Left);
    QTest::keyClick(destination, Qt::Key_Space);
    EXPECT_TRUE(s.settings.writeNextToOriginal());
    EXPECT_EQ(s.settings.outputFolder(), s.folder.path("Ergebnisse"));
    EXPECT_EQ(view.height(), shortHeight);

    // The window comes back where it was left.
    view.move(133, 77);
    const QPoint left = view.pos();
    view.close();
    SettingsView again(s.settings, permissions, false);
    EXPECT_EQ(again.windowTitle(), "Tramix – Settings");
    again.present();
    EXPECT_EQ(again.pos(), left);
    EXPECT_EQ(named<SegmentedControl>(again, "Key for Formats")->current(), 1) << "Ctrl";
}
