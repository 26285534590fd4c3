// The shelf drawn off screen by the command line, with the sample files it makes itself.
#include "Shelf/ShelfView.h"
#include "TestFiles.h"
#include "app/App/CliRunner.h"

#include <QImage>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

TEST(ShelfRendering, TheShelfInLightAndDarkWithItsSampleFiles) {
    TestFolder folder;
    const QString light = folder.path("light.png"), dark = folder.path("dark.png");
    for (const QStringList& args :
         {QStringList{"--render-shelf", light}, QStringList{"--render-shelf", dark, "dark"}}) {
        const CliOutput result = runTramix(args);
        EXPECT_EQ(result.status, 0) << result.out.toStdString() << result.err.toStdString();
        EXPECT_EQ(result.out, "");
    }
    const QImage lightImage(light), darkImage(dark);
    ASSERT_FALSE(lightImage.isNull());
    ASSERT_FALSE(darkImage.isNull());
    // Twice the size in points, five rows, with room for the shadow.
    const QSize points = ShelfView::sizeFor(5, ShelfView::shadowMargin(true));
    EXPECT_EQ(lightImage.size(), points * 2);
    EXPECT_EQ(darkImage.size(), lightImage.size());
    EXPECT_EQ(lightImage.pixelColor(0, 0).alpha(), 0) << "the corners stay clear";
    // The card is light in the light shelf and dark in the dark one, at the header's right.
    const QPoint card(lightImage.width() - 2 * 60, 2 * (14 + 40));
    EXPECT_EQ(lightImage.pixelColor(card).alpha(), 255);
    EXPECT_GT(lightImage.pixelColor(card).lightness(), 220);
    EXPECT_LT(darkImage.pixelColor(card).lightness(), 70);
    // The handle at the foot is drawn in the accent colour.
    const QColor handle =
        lightImage.pixelColor(2 * 40, lightImage.height() - 2 * (14 + 8 + 28 + 4 + 8));
    EXPECT_GT(handle.blue(), handle.red() + 60) << handle.name().toStdString();
}
