// The shelf's list: references parked once each, kept across a restart, and files that went away
// meanwhile shown as missing and never offered in a drag.
#include "Shelf/ShelfModel.h"

#include "Settings/UILanguage.h"
#include "Shelf/ShelfView.h"
#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using tramix::test::TestFolder;

namespace {

QStringList pathsOf(const ShelfModel& model) {
    QStringList paths;
    for (const ShelfModel::Item& item : model.items())
        paths.append(item.path);
    return paths;
}

} // namespace

TEST(ShelfModel, ParksEachFileOnceAsAReferenceAndKeepsTheListAcrossARestart) {
    TestFolder folder;
    const QString store = folder.path("state/Tramix/shelf.json");
    const QString photo = folder.file("Urlaub.jpg", QByteArray(1200, 'j'));
    const QString offer = folder.file("sub/Angebot 2024.pdf", "pdf");
    const QString album = folder.folder("Album");
    {
        ShelfModel model(store);
        QSignalSpy changed(&model, &ShelfModel::changed);
        // Twice the same file, and one that does not exist: two new files and the folder.
        EXPECT_EQ(model.add({photo, offer, photo, folder.path("never.txt"), album}), 3);
        EXPECT_EQ(changed.count(), 1);
        EXPECT_EQ(pathsOf(model), QStringList({photo, offer, album}));
        // Another spelling of a parked file is the same file.
        EXPECT_EQ(model.add({folder.path("sub/../Urlaub.jpg"), offer}), 0);
        EXPECT_EQ(changed.count(), 1);
        EXPECT_EQ(model.items()[0].size, 1200);
        EXPECT_EQ(model.items()[0].name(), "Urlaub.jpg");
        EXPECT_TRUE(model.items()[2].folder);
        EXPECT_EQ(model.indexOf(offer), 1);
        EXPECT_EQ(model.presentPaths(), QStringList({photo, offer, album}));
    }
    // What is kept is the names, in order; nothing was copied next to it.
    EXPECT_EQ(test::namesIn(folder.path("state/Tramix")), QStringList({"shelf.json"}));
    EXPECT_TRUE(test::readText(store).contains("Angebot 2024.pdf"));
    {
        ShelfModel model(store);
        EXPECT_EQ(pathsOf(model), QStringList({photo, offer, album}));
        model.removeAt(1);
        model.remove(album);
        EXPECT_EQ(pathsOf(model), QStringList({photo}));
    }
    {
        ShelfModel model(store);
        EXPECT_EQ(pathsOf(model), QStringList({photo}));
        model.clear();
    }
    EXPECT_TRUE(ShelfModel(store).isEmpty());
    // The files themselves never move.
    EXPECT_TRUE(QFile::exists(photo) && QFile::exists(offer) && QDir(album).exists());

    // A damaged list starts empty, and the next change writes a good one.
    folder.file("state/Tramix/shelf.json", "{ not json");
    ShelfModel damaged(store);
    EXPECT_TRUE(damaged.isEmpty());
    damaged.add({offer});
    EXPECT_EQ(pathsOf(ShelfModel(store)), QStringList({offer}));
    // Without a file the list lives in memory only.
    ShelfModel memory{QString()};
    EXPECT_EQ(memory.add({photo}), 1);
}

TEST(ShelfModel, AFileThatWentAwayIsMissingIsNotOfferedAndStaysListedUntilRemoved) {
    TestFolder folder;
    const QString store = folder.path("shelf.json");
    const QString kept = folder.file("Bleibt.png");
    const QString gone = folder.file("Weg/Entwurf.docx", "draft");
    ShelfModel model(store);
    model.add({kept, gone});
    QSignalSpy changed(&model, &ShelfModel::changed);

    // The file system tells the shelf; nobody has to ask.
    ASSERT_TRUE(QFile::remove(gone));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !model.items()[1].present; }, 10000));
    EXPECT_GE(changed.count(), 1);
    EXPECT_EQ(model.count(), 2);
    EXPECT_EQ(model.presentPaths(), QStringList({kept}));
    // A drag asks again at its start: a file gone a moment ago is not offered either.
    ASSERT_TRUE(QFile::rename(kept, folder.path("Umbenannt.png")));
    EXPECT_TRUE(model.presentPaths().isEmpty());
    ASSERT_TRUE(QFile::rename(folder.path("Umbenannt.png"), kept));

    const ShelfView::Row row = ShelfView::rowFor(model.items()[1]);
    EXPECT_TRUE(row.missing);
    EXPECT_EQ(row.detail, UILanguage::text("fehlt", "missing"));
    EXPECT_EQ(row.name, "Entwurf.docx");

    // After a restart it is still listed as missing: a drive may come back.
    ShelfModel restarted(store);
    ASSERT_EQ(restarted.count(), 2);
    EXPECT_TRUE(restarted.items()[0].present);
    EXPECT_FALSE(restarted.items()[1].present);
    // And when it comes back, the shelf sees it.
    folder.file("Weg/Entwurf.docx", "draft again");
    restarted.refresh();
    EXPECT_TRUE(restarted.items()[1].present);
    EXPECT_EQ(restarted.items()[1].size, 11);
    QFile::remove(gone);
    restarted.refresh();
    restarted.remove(gone);
    EXPECT_EQ(pathsOf(ShelfModel(store)), QStringList({kept}));
}

TEST(ShelfModel, SizesReadAsInTheRestOfTheApp) {
    EXPECT_EQ(ShelfView::sizeText(0, true), "0 Bytes");
    EXPECT_EQ(ShelfView::sizeText(1, true), "1 Byte");
    EXPECT_EQ(ShelfView::sizeText(812, true), "812 Bytes");
    EXPECT_EQ(ShelfView::sizeText(340'000, true), "340 KB");
    EXPECT_EQ(ShelfView::sizeText(1'234'567, true), "1,2 MB");
    EXPECT_EQ(ShelfView::sizeText(1'234'567, false), "1.2 MB");
    EXPECT_EQ(ShelfView::sizeText(45'600'000'000, true), "46 GB");
}
