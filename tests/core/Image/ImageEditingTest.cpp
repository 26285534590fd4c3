#include "Image/ImageEditing.h"

#include "ConversionError.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;
using vips::VImage;

namespace {

// Red where x, green where y: every pixel says where it came from.
VImage coordinates(int width, int height) {
    const VImage xy = VImage::xyz(width, height);
    return xy[0].bandjoin(xy[1]).bandjoin(xy[0] * 0).cast(VIPS_FORMAT_UCHAR);
}

bool samePixels(const VImage& a, const VImage& b) {
    return a.width() == b.width() && a.height() == b.height() && (a - b).abs().max() == 0;
}

Colour pixel(const VImage& image, int x, int y) {
    return image.getpoint(x, y);
}

} // namespace

TEST(ImageEditing, QuarterTurnsCountModuloFourAndTurnClockwise) {
    // Blue with a red mark in the top-left corner.
    const VImage marked = halves(400, 300, blue, blue).insert(halves(10, 10, red, red), 0, 0);
    EXPECT_TRUE(samePixels(ImageEditing::rotated(marked, 0), marked));
    EXPECT_TRUE(samePixels(ImageEditing::rotated(marked, 4), marked));
    EXPECT_TRUE(samePixels(ImageEditing::rotated(marked, -1), ImageEditing::rotated(marked, 3)));
    const VImage once = ImageEditing::rotated(marked, 1);
    ASSERT_EQ(once.width(), 300);
    ASSERT_EQ(once.height(), 400);
    EXPECT_EQ(pixel(once, 295, 5), red);
    EXPECT_EQ(pixel(once, 5, 5), blue);
    EXPECT_TRUE(samePixels(ImageEditing::rotated(marked, 2), marked.rot(VIPS_ANGLE_D180)));
}

TEST(ImageEditing, CropRoundsOutwardKeepsTheFormatAndNeverGoesBelowHighQuality) {
    TestFolder folder;
    const QString png = saveImage(coordinates(101, 101), folder.path("Karte.png"));
    const OutputContext context;
    // 25.25…75.75 becomes 25…76.
    const QString square = ImageEditing::crop(png, {0.25, 0.25, 0.5, 0.5}, 0, context);
    EXPECT_EQ(QFileInfo(square).fileName(), "Karte zugeschnitten.png");
    EXPECT_EQ(sizeOf(square), "51 x 51");
    EXPECT_EQ(pixelAt(square, 0, 0), (Colour{25, 25, 0}));
    EXPECT_EQ(pixelAt(square, 50, 50), (Colour{75, 75, 0}));
    EXPECT_EQ(ImageEditing::pixelRect({0.3, 0.1, 0.4, 0.2}, {100, 10}), QRect(30, 1, 40, 2));

    // The whole image again, under a name that replaces nothing.
    const QString again = ImageEditing::crop(png, {0, 0, 1, 1}, 0, context);
    EXPECT_EQ(QFileInfo(again).fileName(), "Karte zugeschnitten 2.png");
    EXPECT_EQ(sizeOf(again), "101 x 101");

    // Quality 0.5 is raised to 0.9: the same bytes as a crop asked for at 0.9.
    const QString jpeg = saveImage(photoLike(300, 200), folder.path("Foto.jpg"));
    const QString low = ImageEditing::crop(jpeg, {0, 0, 1, 1}, 0, {std::nullopt, 0.5});
    const QString high = ImageEditing::crop(jpeg, {0, 0, 1, 1}, 0, {std::nullopt, 0.9});
    EXPECT_EQ(QFileInfo(low).fileName(), "Foto zugeschnitten.jpg");
    EXPECT_EQ(readBytes(low), readBytes(high));
    EXPECT_NE(readBytes(high),
              readBytes(ImageEditing::crop(jpeg, {0, 0, 1, 1}, 0, {std::nullopt, 0.97})));
}

TEST(ImageEditing, AnEmptyCropFailsAndWritesNothing) {
    TestFolder folder;
    const QString png = saveImage(coordinates(40, 30), folder.path("a.png"));
    const QStringList before = folder.names();
    for (const QRectF rect :
         {QRectF(1.2, 0, 0.5, 0.5), QRectF(0.5, 0.2, 0, 0.5), QRectF(-0.6, -0.6, 0.5, 0.5)}) {
        EXPECT_EQ(errorOf([&] { ImageEditing::crop(png, rect, 1, {}); }),
                  "Der Ausschnitt ist leer.");
    }
    EXPECT_EQ(folder.names(), before);
    EXPECT_EQ(errorOf([&] { ImageEditing::preview(folder.file("kaputt.jpg", "no image"), 100); }),
              ConversionError::unreadable("kaputt.jpg").errorDescription());
}

TEST(ImageEditing, TurnedPhotosPreviewUprightAndCropWithOrientationOneAndTheirMetadata) {
    TestFolder folder;
    // Stored 4000 × 3000 and meant to be turned a quarter clockwise.
    const QString big = saveImage(halves(4000, 3000, red, blue), folder.path("hoch.jpg"));
    exiftool({"-q", "-overwrite_original", "-Orientation#=6", big});
    const ImageEditing::Preview preview = ImageEditing::preview(big, 400);
    EXPECT_EQ(preview.fullSize, QSizeF(3000, 4000));
    EXPECT_EQ(preview.image.width(), 300);
    EXPECT_EQ(preview.image.height(), 400);

    // Stored 64 × 32, red left: upright 32 × 64, red on top; turned once more, red on the right.
    const QString small = saveImage(halves(64, 32, red, blue), folder.path("klein.jpg"), "[Q=95]");
    exiftool({"-q", "-overwrite_original", "-Orientation#=6", "-GPSLatitude=48.1",
              "-GPSLatitudeRef=N", small});
    const QString right = ImageEditing::crop(small, {0.5, 0, 0.5, 1}, 1, {});
    EXPECT_EQ(sizeOf(right), "32 x 32");
    EXPECT_TRUE(isNear(pixelAt(right, 16, 16), red));
    const QJsonObject tags = tagsOf(right);
    EXPECT_EQ(tags.value("IFD0:Orientation").toInt(1), 1);
    EXPECT_TRUE(hasGroup(tags, "GPS"));
}
