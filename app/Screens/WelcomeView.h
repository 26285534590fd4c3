// The first-run window: how the wheel works in three steps beside a wheel that shows it by
// itself, which keys open which wheel, whether this session lets the app see drags, and a button
// to get started. Also shown from the menu's "Anleitung".
#pragma once

#include "Settings/UILanguage.h"

#include <QWidget>
#include <functional>

namespace tramix {

class ActionButton;
class AppSettings;
class DemoWheel;
class Permissions;
class ThemedLabel;

class WelcomeView : public QWidget {
    Q_OBJECT
public:
    WelcomeView(AppSettings& settings, Permissions& permissions, bool german = UILanguage::german(),
                QWidget* parent = nullptr);

    // The finishing button was pressed.
    std::function<void()> onDone;

    DemoWheel& demo() { return *demo_; }
    ActionButton& doneButton() { return *done_; }

    static QString title(bool german);

    // Shows the window in the middle of the screen, in front, with the finishing button focused.
    void present();

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void build();
    void sync();
    void restyle();

    AppSettings& settings_;
    Permissions& permissions_;
    bool german_;
    QWidget* stage_ = nullptr; // the panel behind the demo wheel
    DemoWheel* demo_ = nullptr;
    ThemedLabel* keysTitle_ = nullptr;
    ThemedLabel* keysStep_ = nullptr;
    ThemedLabel* dropStep_ = nullptr;
    ActionButton* done_ = nullptr;
};

} // namespace tramix
