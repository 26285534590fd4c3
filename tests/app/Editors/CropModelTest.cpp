#include "Editors/CropModel.h"

#include "Settings/UILanguage.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;
using Corner = CropModel::Corner;

namespace {

// Rectangles equal to a few millionths.
::testing::AssertionResult near(const QRectF& actual, const QRectF& expected) {
    const double error =
        std::max({std::abs(actual.x() - expected.x()), std::abs(actual.y() - expected.y()),
                  std::abs(actual.width() - expected.width()),
                  std::abs(actual.height() - expected.height())});
    if (error < 1e-6)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << actual.x() << ", " << actual.y() << ", "
                                         << actual.width() << ", " << actual.height() << ")";
}

bool loaded(const CropModel& model) {
    return QTest::qWaitFor([&] { return !model.busy(); }, 20000) && !model.preview().isNull();
}

} // namespace

TEST(CropModel, AspectsMovesAndCornerDragsKeepTheFrameInsideTheImage) {
    TestFolder folder;
    const QString photo = saveImage(halves(400, 300, red, blue), folder.path("quer.png"));
    CropModel model({photo}, [] { return OutputContext(); });
    ASSERT_TRUE(loaded(model));
    EXPECT_EQ(model.pixelSize(), QSizeF(400, 300));
    EXPECT_FALSE(model.progress().has_value());

    model.setAspect(CropAspect::square);
    EXPECT_TRUE(near(model.rect(), {0.125, 0, 0.75, 1}));
    model.setAspect(CropAspect::sixteenNine);
    EXPECT_TRUE(near(model.rect(), {0, 0.125, 1, 0.75}));
    model.setAspect(CropAspect::original);
    EXPECT_TRUE(near(model.rect(), {0, 0, 1, 1}));
    model.setAspect(CropAspect::fourThree);
    model.turn(1);
    EXPECT_EQ(model.pixelSize(), QSizeF(300, 400));
    EXPECT_EQ(model.preview().size(), QSize(300, 400));
    EXPECT_TRUE(near(model.rect(), {0, 0.21875, 1, 0.5625})); // 4:3 across a tall image
    model.turn(-1);

    model.setAspect(CropAspect::free);
    EXPECT_TRUE(near(model.rect(), {0, 0, 1, 1}));
    const QRectF half(0.25, 0.25, 0.5, 0.5);
    model.resize(half, Corner::bottomRight, {5, 5});
    EXPECT_TRUE(near(model.rect(), {0.25, 0.25, 0.75, 0.75}));
    model.resize(half, Corner::bottomRight, {-0.5, -0.5}); // onto the anchor
    EXPECT_TRUE(near(model.rect(), {0.25, 0.25, 0.04, 0.04}));
    model.resize(half, Corner::topLeft, {-0.1, 0.05});
    EXPECT_TRUE(near(model.rect(), {0.15, 0.3, 0.6, 0.45}));
    model.move(half, {2, -3});
    EXPECT_TRUE(near(model.rect(), {0.5, 0, 0.5, 0.5}));
    model.move(half, {0.1, 0.05});
    EXPECT_TRUE(near(model.rect(), {0.35, 0.3, 0.5, 0.5}));

    // Square: a sideways drag grows the height too, and stops at the first edge it reaches.
    model.setAspect(CropAspect::square);
    const QRectF square(0.25, 0.25, 0.375, 0.5); // square in pixels: 150 × 150
    model.resize(square, Corner::bottomRight, {0.125, 0});
    EXPECT_TRUE(near(model.rect(), {0.25, 0.25, 0.5, 2.0 / 3}));
    model.resize(square, Corner::bottomRight, {0.7, 0});
    EXPECT_TRUE(near(model.rect(), {0.25, 0.25, 0.5625, 0.75})); // the bottom edge came first
    EXPECT_EQ(model.cropPixels(), QSize(225, 225));
}

TEST(CropModel, SavesAndSkipsInTurnAndFinishesOnceWithOnlyTheWrittenFiles) {
    TestFolder folder;
    const QStringList photos = {saveImage(halves(400, 300, red, blue), folder.path("a.png")),
                                saveImage(halves(200, 200, red, blue), folder.path("b.png")),
                                saveImage(halves(300, 100, red, blue), folder.path("c.png"))};
    CropModel model(photos, [&] { return OutputContext{folder.folder("out"), 0.5}; });
    int finishes = 0;
    QStringList delivered;
    model.onFinish = [&](const QStringList& outputs) {
        ++finishes;
        delivered = outputs;
    };
    ASSERT_TRUE(loaded(model));
    EXPECT_EQ(model.progress(), UILanguage::text("Bild 1 von 3", "Image 1 of 3"));

    // A frame without a whole pixel fails, and the image stays open for another try.
    model.resize({1, 0, 0, 1}, Corner::bottomRight, {0.5, 0}); // anchored on the right edge
    EXPECT_EQ(model.rect().width(), 0);
    model.save();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.error().has_value(); }, 20000));
    EXPECT_EQ(*model.error(), "Der Ausschnitt ist leer.");
    EXPECT_EQ(model.index(), 0);
    EXPECT_FALSE(model.busy());

    model.setAspect(CropAspect::square);
    model.save();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.index() == 1 && !model.busy(); }, 20000));
    EXPECT_FALSE(model.error().has_value());
    EXPECT_EQ(model.progress(), UILanguage::text("Bild 2 von 3", "Image 2 of 3"));
    model.next(); // skips b.png
    ASSERT_TRUE(loaded(model));
    EXPECT_EQ(model.index(), 2);
    model.save();
    ASSERT_TRUE(QTest::qWaitFor([&] { return finishes > 0; }, 20000));
    model.next();
    model.save();
    QTest::qWait(50);
    EXPECT_EQ(finishes, 1);
    EXPECT_EQ(delivered, QStringList({folder.path("out/a zugeschnitten.png"),
                                      folder.path("out/c zugeschnitten.png")}));
    EXPECT_EQ(sizeOf(delivered[0]), "300 x 300");
    EXPECT_EQ(sizeOf(delivered[1]), "100 x 100");
    EXPECT_FALSE(QFileInfo::exists(folder.path("out/b zugeschnitten.png")));
}
