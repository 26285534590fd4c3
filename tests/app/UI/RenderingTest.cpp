// The pictures the command line draws off screen: the wheel, the menu and the icons.
#include "TestFiles.h"
#include "UI/MenuView.h"
#include "app/App/CliRunner.h"

#include <QImage>
#include <gtest/gtest.h>

using namespace tramix;

namespace {

struct Renderer {
    test::TestFolder folder;
    int count = 0;

    // Runs a render command whose output path is written "out.png"; returns what it drew.
    QImage operator()(QStringList args) {
        const QString path = folder.path(QStringLiteral("%1.png").arg(++count));
        args.replaceInStrings(QStringLiteral("out.png"), path);
        const auto result = test::runTramix(args);
        EXPECT_EQ(result.status, 0) << args.join(' ').toStdString() << result.out.toStdString();
        return QImage(path);
    }
};

// The wheel is drawn at twice its size in points.
QColor pixel(const QImage& image, double xPoints, double yPoints) {
    return image.pixelColor(int(xPoints * 2), int(yPoints * 2));
}

} // namespace

TEST(Rendering, TheWheelInLightAndDarkOnAClearBackground) {
    Renderer render;
    const QImage light = render({"--render-wheel", "tools", "out.png"});
    const QImage dark = render({"--render-wheel", "tools", "out.png", "dark"});
    ASSERT_EQ(light.size(), QSize(600, 600));
    ASSERT_EQ(dark.size(), QSize(600, 600));
    EXPECT_EQ(pixel(light, 2, 2).alpha(), 0) << "the corners stay clear";
    EXPECT_EQ(pixel(light, 150, 150).alpha(), 255);
    // The centre disc is light in the light wheel and dark in the dark one.
    EXPECT_GT(pixel(light, 150, 108).lightness(), 200);
    EXPECT_LT(pixel(dark, 150, 108).lightness(), 80);
    EXPECT_EQ(pixel(light, 150, 40).alpha(), 255) << "a segment is drawn";

    // The wheel arts of the editor rendering take the files they are given.
    EXPECT_EQ(
        render({"--render-editor", "convert-wheel", "out.png", "a.pdf", "b.pdf", "dark"}).size(),
        QSize(600, 600));
}

TEST(Rendering, TheMenuInLightAndDarkAndTheIcons) {
    Renderer render;
    const QImage light = render({"--render-menu", "out.png"});
    const QImage dark = render({"--render-menu", "out.png", "dark"});
    ASSERT_EQ(light.width(), 2 * MenuView::width);
    EXPECT_EQ(dark.size(), light.size());
    EXPECT_GT(light.height(), light.width()) << "a tall panel";
    EXPECT_EQ(light.pixelColor(1, 1).alpha(), 0) << "rounded corners stay clear";
    const QPoint card(light.width() - 20, light.height() / 2);
    EXPECT_GT(light.pixelColor(card).lightness(), 220);
    EXPECT_LT(dark.pixelColor(card).lightness(), 70);

    const QImage icon = render({"--render-icon", "out.png"});
    EXPECT_EQ(icon.size(), QSize(1024, 1024));
    EXPECT_EQ(icon.pixelColor(512, 512).alpha(), 255);
    const QImage bar = render({"--render-menubar-icon", "out.png"});
    EXPECT_EQ(bar.size(), QSize(44, 44));
    EXPECT_EQ(bar.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(render({"--render-icon", "out.png", "48"}).size(), QSize(48, 48));
    EXPECT_NE(test::runTramix({"--render-icon", render.folder.path("x.png"), "3"}).status, 0);

    // At the panel's sizes the gaps between the segments are whole clear pixels, the segments
    // solid, dark on a light panel and light on a dark one.
    for (int size : {16, 22, 24}) {
        const QString pixels = QString::number(size);
        const QImage light = render({"--render-menubar-icon", "out.png", pixels});
        const QImage dark = render({"--render-menubar-icon", "out.png", pixels, "dark"});
        ASSERT_EQ(light.size(), QSize(size, size));
        const int middle = size / 2;
        for (int i = 0; i < size; ++i) {
            for (int line : {middle - 1, middle}) {
                EXPECT_EQ(light.pixelColor(i, line).alpha(), 0) << size << " row " << line;
                EXPECT_EQ(light.pixelColor(line, i).alpha(), 0) << size << " column " << line;
            }
        }
        const QPoint segment(middle + size / 5, middle - 1 - size / 5);
        EXPECT_EQ(light.pixelColor(segment).alpha(), 255) << size;
        EXPECT_LT(light.pixelColor(segment).lightness(), 80) << size;
        EXPECT_GT(dark.pixelColor(segment).lightness(), 200) << size;
    }
}

TEST(Rendering, TheWelcomeAndSettingsWindowsInLightAndDark) {
    Renderer render;
    for (const char* screen : {"--render-welcome", "--render-settings"}) {
        const QImage light = render({screen, "out.png"});
        const QImage dark = render({screen, "out.png", "dark"});
        ASSERT_FALSE(light.isNull()) << screen;
        EXPECT_EQ(dark.size(), light.size()) << screen;
        EXPECT_GT(light.width(), 1000) << "a whole window at twice its size";
        // The window's own background, away from every control, in the scheme asked for.
        const QPoint corner(light.width() - 6, light.height() - 6);
        EXPECT_GT(light.pixelColor(corner).lightness(), 220) << screen;
        EXPECT_LT(dark.pixelColor(corner).lightness(), 70) << screen;
    }
}

// The artwork: sky above, meadow below, and the open wheel in front.
TEST(Rendering, TheSceneTheCardAndTheBannerShowTheWheelOnAMeadow) {
    Renderer render;
    for (const auto& [command, size] : {std::pair{"--render-scene", QSize(1600, 1000)},
                                        std::pair{"--render-og", QSize(1200, 630)},
                                        std::pair{"--render-dmg-background", QSize(1600, 480)}}) {
        const QImage image = render({command, "out.png"});
        ASSERT_EQ(image.size(), size) << command;
        const QColor sky = image.pixelColor(4, 4), meadow = image.pixelColor(4, size.height() - 4);
        EXPECT_GT(sky.blue(), sky.green()) << command;
        EXPECT_GT(meadow.green(), 2 * meadow.blue()) << command;
        // The wheel's pale card stands in the grass right of the middle.
        const int row = size.height() * 3 / 4;
        int pale = 0;
        for (int x = size.width() / 2; x < size.width(); ++x)
            pale += image.pixelColor(x, row).lightness() > 225 ? 1 : 0;
        EXPECT_GT(pale, size.width() / 10) << command;
    }
}
