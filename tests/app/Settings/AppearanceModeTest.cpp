#include "Settings/AppearanceMode.h"

#include <QPalette>
#include <gtest/gtest.h>

using namespace tramix;

namespace {

QPalette desktop(const QColor& window, const QColor& text) {
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

int windowLightness(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Window).lightness();
}

} // namespace

TEST(AppearanceMode, KeepsTheDesktopsPaletteWhereItFitsAndBringsItsOwnWhereNot) {
    const QPalette light = desktop(QColor(240, 240, 240), Qt::black);
    const QPalette dark = desktop(QColor(30, 30, 30), Qt::white);
    for (const QPalette& own : {light, dark})
        EXPECT_EQ(AppearanceMode(AppearanceMode::system).palette(own), own);
    EXPECT_EQ(AppearanceMode(AppearanceMode::light).palette(light), light);
    EXPECT_EQ(AppearanceMode(AppearanceMode::dark).palette(dark), dark);

    const QPalette madeDark = AppearanceMode(AppearanceMode::dark).palette(light);
    EXPECT_LT(windowLightness(madeDark), 128);
    EXPECT_GT(madeDark.color(QPalette::WindowText).lightness(), 200);
    EXPECT_GT(madeDark.color(QPalette::Text).lightness(),
              madeDark.color(QPalette::Base).lightness());
    const QPalette madeLight = AppearanceMode(AppearanceMode::light).palette(dark);
    EXPECT_GE(windowLightness(madeLight), 128);
    EXPECT_LT(madeLight.color(QPalette::WindowText).lightness(), 60);

    // Without a window system (command line, this test) applying a mode is harmless.
    AppearanceMode(AppearanceMode::dark).apply();
}
