#include "Image/Backdrop.h"

#include "TestFiles.h"
#include "TestImages.h"

#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;
using vips::VImage;

namespace {

BackdropStyle plain(double padding = 0, std::optional<double> aspect = std::nullopt) {
    return {std::monostate{}, padding, 0, 0, aspect};
}

double alphaAt(const VImage& image, int x, int y) {
    return image.getpoint(x, y).at(3);
}

Colour colourAt(const VImage& image, int x, int y) {
    const std::vector<double> rgba = image.getpoint(x, y);
    return {rgba[0], rgba[1], rgba[2]};
}

Colour hex(quint32 rgb) {
    const RGBA colour = RGBA::hex(rgb);
    return {colour.r * 255, colour.g * 255, colour.b * 255};
}

} // namespace

TEST(Backdrop, NothingAroundTheImageReproducesItExactly) {
    const VImage photo = photoLike(120, 80);
    const VImage result = Backdrop::render(photo, plain()).copy_memory();
    ASSERT_EQ(result.width(), 120);
    ASSERT_EQ(result.height(), 80);
    EXPECT_EQ((result.extract_band(0, VImage::option()->set("n", 3)) - photo).abs().max(), 0);
    EXPECT_EQ(result[3].min(), 255);
}

TEST(Backdrop, TheCanvasGetsThePaddingThenGrowsToTheAspectWithTheImageCentred) {
    EXPECT_EQ(Backdrop::canvasSize({1000, 500}, plain(0.1)), QSize(1200, 700));
    EXPECT_EQ(Backdrop::canvasSize({1000, 500}, plain(0.1, 1.0)), QSize(1200, 1200));
    // Already wider than 16:9: only the height grows.
    EXPECT_EQ(Backdrop::canvasSize({1000, 200}, plain(0.1, 16.0 / 9)), QSize(1200, 675));
    EXPECT_EQ(Backdrop::canvasSize({1000, 500}, plain(0.1, 9.0 / 16)), QSize(1200, 2133));

    const VImage square = Backdrop::render(halves(1000, 500, red, blue), plain(0.1, 1.0));
    ASSERT_EQ(square.width(), 1200);
    ASSERT_EQ(square.height(), 1200);
    EXPECT_EQ(alphaAt(square, 99, 600), 0);
    EXPECT_EQ(alphaAt(square, 100, 350), 255);
    EXPECT_EQ(colourAt(square, 100, 350), red);
    EXPECT_EQ(colourAt(square, 1099, 849), blue);
    EXPECT_EQ(alphaAt(square, 600, 850), 0);
}

TEST(Backdrop, HalfTheShorterSideRoundsTheImageIntoASmoothCircle) {
    BackdropStyle style = plain();
    style.cornerRadius = 0.5;
    const VImage circle = Backdrop::render(halves(400, 400, red, red), style).copy_memory();
    EXPECT_EQ(alphaAt(circle, 0, 0), 0);
    EXPECT_EQ(alphaAt(circle, 50, 50), 0); // 211 px from the centre
    EXPECT_EQ(alphaAt(circle, 200, 200), 255);
    EXPECT_EQ(alphaAt(circle, 200, 1), 255);
    EXPECT_EQ(alphaAt(circle, 1, 200), 255);
    EXPECT_EQ(alphaAt(circle, 65, 65), 255); // 190 px from the centre
    // Antialiased: the rim has pixels between transparent and opaque.
    const VImage alpha = circle[3];
    const double rim = ((alpha > 0) & (alpha < 255)).avg() / 255 * 400 * 400;
    EXPECT_GT(rim, 400); // about the circumference, 1257 px
    EXPECT_LT(rim, 3000);
}

TEST(Backdrop, GradientsRunAlongTheirAngleAndTheShadowFallsDownwards) {
    const auto framed = [](const char* id) {
        const BackdropStyle style{*GradientPreset::withId(id), 0.5, 0, 0, std::nullopt};
        return Backdrop::render(halves(100, 100, white, white), style).copy_memory();
    };
    const VImage meadow = framed("meadow"); // 90°: light on top, green below
    ASSERT_EQ(meadow.width(), 200);
    EXPECT_TRUE(isNear(colourAt(meadow, 100, 0), hex(0xF3F7D9), 4));
    EXPECT_TRUE(isNear(colourAt(meadow, 100, 199), hex(0x8DBF8B), 4));
    EXPECT_TRUE(isNear(colourAt(meadow, 0, 100), colourAt(meadow, 199, 100), 1));
    const VImage sunrise = framed("sunrise"); // 45°: yellow top-left, pink bottom-right
    EXPECT_TRUE(isNear(colourAt(sunrise, 0, 0), hex(0xFFD36E), 4));
    EXPECT_TRUE(isNear(colourAt(sunrise, 199, 199), hex(0xF78CA0), 4));
    EXPECT_TRUE(isNear(colourAt(sunrise, 199, 0), colourAt(sunrise, 0, 199), 2));
    EXPECT_EQ(alphaAt(sunrise, 100, 100), 255);
    EXPECT_EQ(colourAt(sunrise, 100, 100), white);

    BackdropStyle shadowed{std::monostate{}, 0.3, 0.1, 1, std::nullopt};
    const VImage lifted = Backdrop::render(halves(400, 200, white, white), shadowed).copy_memory();
    const int below = 120 + 200 + 10, above = 120 - 10;
    EXPECT_GT(alphaAt(lifted, 320, below), alphaAt(lifted, 320, above) + 10);
    EXPECT_LT(alphaAt(lifted, 320, below), 0.45 * 255);
    EXPECT_EQ(alphaAt(lifted, 0, 0), 0);
}

TEST(Backdrop, AFileBecomesAPNGWithBackground) {
    TestFolder folder;
    const QString input = saveImage(photoLike(300, 150), folder.path("Bildschirm.jpg"));
    const BackdropStyle style{GradientPreset::all().first(), 0.1, 0.05, 0.5, 1.0};
    const QString written = Backdrop::render(input, style, {});
    EXPECT_EQ(QFileInfo(written).fileName(), "Bildschirm mit Hintergrund.png");
    EXPECT_EQ(sizeOf(written), "360 x 360");
    EXPECT_EQ(QFileInfo(Backdrop::render(input, style, {})).fileName(),
              "Bildschirm mit Hintergrund 2.png");
}
