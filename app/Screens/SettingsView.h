// The settings window: how the wheel opens and which key opens which wheel, where results go
// and how good they are, the appearance, the sound and the start at login. Every control is
// bound to its setting: a change is stored at once, and a change made elsewhere shows at once.
#pragma once

#include "Settings/ModifierKey.h"
#include "Settings/UILanguage.h"
#include "WheelMode.h"

#include <QWidget>
#include <array>
#include <functional>
#include <map>
#include <optional>

namespace tramix {

class ActionButton;
class AppSettings;
class LevelSlider;
class PermissionCard;
class Permissions;
class SegmentedControl;
class ThemedLabel;
class ToggleSwitch;

class SettingsView : public QWidget {
    Q_OBJECT
public:
    SettingsView(AppSettings& settings, Permissions& permissions,
                 bool german = UILanguage::german(), QWidget* parent = nullptr);
    ~SettingsView() override;

    // Asks the user for the folder that takes the results, starting at `start`; none when they
    // cancel. The desktop's folder chooser unless replaced.
    std::function<std::optional<QString>(const QString& start)> chooseFolder;

    static QString title(bool german);
    // The key choices in the order the rows show them: Shift, Ctrl, Alt, Super.
    static const std::array<ModifierKey, 4>& keyOrder();

    // Puts the window where it last stood, or in the middle of the screen, shows and raises
    // it and gives it the focus.
    void present();

protected:
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void build();
    void sync();
    void fitHeight();
    void chooseWhereResultsGo(int index);
    void changeFolder();
    void restyle();

    AppSettings& settings_;
    Permissions& permissions_;
    bool german_;
    PermissionCard* card_ = nullptr;
    SegmentedControl* activation_ = nullptr;
    ThemedLabel* activationDetail_ = nullptr;
    std::map<WheelMode::Value, SegmentedControl*> keys_;
    SegmentedControl* destination_ = nullptr;
    QWidget* folderRow_ = nullptr;
    ThemedLabel* folder_ = nullptr;
    ActionButton* changeFolder_ = nullptr;
    LevelSlider* quality_ = nullptr;
    ThemedLabel* qualityValue_ = nullptr;
    SegmentedControl* appearance_ = nullptr;
    ToggleSwitch* sound_ = nullptr;
    ToggleSwitch* login_ = nullptr;
    bool placed_ = false;
};

} // namespace tramix
