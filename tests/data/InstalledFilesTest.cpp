// What `cmake --install` puts on a desktop, read by the validators that distributions run and by
// the lookups a desktop makes: the menu entry's icon, the AppStream page's launchable.
#include "TestFiles.h"
#include "app/App/CliRunner.h"

#include <QImage>
#include <QSet>
#include <QSettings>
#include <gtest/gtest.h>

using tramix::test::runProgram;

TEST(InstalledFiles, PassTheirValidatorsAndFindEachOther) {
    tramix::test::TestFolder prefix;
    const auto install = runProgram(TRAMIX_CMAKE, {"--install", TRAMIX_BUILD_DIR, "--component",
                                                   "desktop", "--prefix", prefix.path("usr")});
    ASSERT_EQ(install.status, 0) << install.err.toStdString();
    const QString share = prefix.path("usr/share/");

    const QString entry = share + "applications/tramix.desktop";
    const auto desktop = runProgram("desktop-file-validate", {entry});
    EXPECT_EQ(desktop.status, 0) << desktop.out.toStdString();
    EXPECT_EQ(desktop.out, QString()) << "not even a hint";
    const auto appstream =
        runProgram("appstreamcli",
                   {"validate", "--no-net", share + "metainfo/org.tramix.Tramix.metainfo.xml"});
    EXPECT_EQ(appstream.status, 0) << appstream.out.toStdString();
    const QString metainfo =
        tramix::test::readText(share + "metainfo/org.tramix.Tramix.metainfo.xml");
    EXPECT_TRUE(metainfo.contains("<launchable type=\"desktop-id\">tramix.desktop</launchable>"));
    EXPECT_TRUE(metainfo.contains(QStringLiteral("version=\"%1\"").arg(TRAMIX_PROJECT_VERSION)));

    // The icon the entry names, at every size the theme has, drawn for that size.
    QSettings keys(entry, QSettings::IniFormat);
    const QString icon = keys.value("Desktop Entry/Icon").toString();
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
        const QImage image(share +
                           QStringLiteral("icons/hicolor/%1x%1/apps/%2.png").arg(size).arg(icon));
        EXPECT_EQ(image.size(), QSize(size, size)) << size;
    }
    // The tray's mark is one colour throughout, as symbolic icons are.
    const QImage symbolic = QImage(share + "icons/hicolor/16x16/apps/" + icon + "-symbolic.png")
                                .convertToFormat(QImage::Format_ARGB32);
    ASSERT_EQ(symbolic.size(), QSize(16, 16));
    QSet<QRgb> colours;
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            if (qAlpha(symbolic.pixel(x, y)) == 255)
                colours.insert(symbolic.pixel(x, y));
        }
    }
    EXPECT_EQ(colours.size(), 1);
}
