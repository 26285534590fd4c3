// The tray's mark takes the panel's text colour and follows it when the palette changes.
#include "Design/TrayIcon.h"

#include "Settings/AppearanceMode.h"

#include <QSystemTrayIcon>
#include <gtest/gtest.h>

using namespace tramix;

namespace {

// The lightness of the chosen segment in the tray's pixmap for a 22-pixel panel.
int segmentLightness(const QSystemTrayIcon& tray) {
    const QImage image = tray.icon().pixmap(22, 22).toImage();
    return image.pixelColor(15, 6).lightness();
}

} // namespace

TEST(TrayIcon, FollowsTheApplicationPaletteFromLightToDark) {
    AppearanceMode(AppearanceMode::light).apply();
    QSystemTrayIcon tray;
    paintTrayIcon(tray);
    EXPECT_LT(segmentLightness(tray), 80);
    AppearanceMode(AppearanceMode::dark).apply();
    EXPECT_GT(segmentLightness(tray), 200);
    AppearanceMode(AppearanceMode::system).apply();
}
