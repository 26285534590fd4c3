// The wheel drawn off screen by the command line, in light and dark.
#include "TestFiles.h"
#include "app/App/CliRunner.h"

#include <QImage>
#include <gtest/gtest.h>

using namespace tramix::test;

namespace {

QColor pixel(const QImage& image, double xPoints, double yPoints) {
    return image.pixelColor(int(xPoints * 2), int(yPoints * 2));
}

} // namespace

TEST(WheelRendering, DrawsEachModeInLightAndDarkOnAClearBackground) {
    TestFolder folder;
    const auto light = runTramix({"--render-wheel", "tools", folder.path("light.png")});
    ASSERT_EQ(light.status, 0) << light.out.toStdString();
    const auto dark = runTramix({"--render-wheel", "tools", folder.path("dark.png"), "dark"});
    ASSERT_EQ(dark.status, 0) << dark.out.toStdString();
    const QImage lightImage(folder.path("light.png"));
    const QImage darkImage(folder.path("dark.png"));
    ASSERT_EQ(lightImage.size(), QSize(600, 600));
    ASSERT_EQ(darkImage.size(), QSize(600, 600));

    EXPECT_EQ(pixel(lightImage, 2, 2).alpha(), 0) << "the corners stay clear";
    EXPECT_EQ(pixel(lightImage, 150, 150).alpha(), 255);
    // The centre disc is light in the light wheel and dark in the dark one.
    EXPECT_GT(pixel(lightImage, 150, 108).lightness(), 200);
    EXPECT_LT(pixel(darkImage, 150, 108).lightness(), 80);
    // A segment (between two labels) is drawn, and the gap beside it shows the plate.
    EXPECT_EQ(pixel(lightImage, 150, 40).alpha(), 255);

    // The wheel arts of the editor rendering take the files they are given.
    const auto editor = runTramix(
        {"--render-editor", "convert-wheel", folder.path("editor.png"), "a.pdf", "b.pdf", "dark"});
    ASSERT_EQ(editor.status, 0) << editor.out.toStdString();
    EXPECT_EQ(QImage(folder.path("editor.png")).size(), QSize(600, 600));

    const auto noPath = runTramix({"--render-wheel", "actions"});
    EXPECT_EQ(noPath.out.trimmed(), "Fehler: Ausgabepfad fehlt.");
    EXPECT_EQ(noPath.status, 1);
}
