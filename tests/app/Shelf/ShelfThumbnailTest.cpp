// Pictures of parked files: the file manager's cached thumbnail while it is valid, else one made
// by libvips in the background; other files get none (the shelf draws their type's icon).
#include "Shelf/ShelfThumbnails.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

void touch(const QString& path, qint64 mtime) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(
        file.setFileTime(QDateTime::fromSecsSinceEpoch(mtime), QFileDevice::FileModificationTime));
}

QColor middle(const QImage& image) {
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

// A thumbnail as a file manager writes it: named after the MD5 of the file's URI, recording a
// URI (the file's own unless `recorded` is given) and the file's modification time.
void writeCacheEntry(const QString& cache, const char* size, const QString& file, qint64 mtime,
                     const QColor& colour, const QString& recorded = {}) {
    QImage picture(128, 64, QImage::Format_ARGB32);
    picture.fill(colour);
    picture.setText("Thumb::URI", recorded.isEmpty() ? ShelfThumbnails::fileUri(file) : recorded);
    picture.setText("Thumb::MTime", QString::number(mtime));
    const QString name =
        QCryptographicHash::hash(ShelfThumbnails::fileUri(file).toUtf8(), QCryptographicHash::Md5)
            .toHex();
    const QString folder = cache + "/thumbnails/" + size;
    QDir().mkpath(folder);
    ASSERT_TRUE(picture.save(folder + '/' + name + ".png", "png"));
}

} // namespace

TEST(ShelfThumbnails, FileUrisAreSpelledAsGLibSpellsThem) {
    EXPECT_EQ(ShelfThumbnails::fileUri("/home/anna/Fotos/Foto 1.jpg"),
              "file:///home/anna/Fotos/Foto%201.jpg");
    EXPECT_EQ(ShelfThumbnails::fileUri("/tmp/Ä;#%[x]?!$&'()*+,-.:=@_~\"<>\\^`{|}.png"),
              "file:///tmp/%C3%84%3B%23%25%5Bx%5D%3F!$&'()*+,-.:=@_~%22%3C%3E%5C%5E%60%7B%7C%7D"
              ".png");
}

TEST(ShelfThumbnails, AValidCacheEntryIsUsedAStaleOneIsNotAndLibvipsMakesTheRest) {
    TestFolder folder;
    const QString cache = folder.folder("cache");
    const QString photo = saveImage(halves(400, 200, blue, blue), folder.path("Foto ü 1.png"));
    const qint64 mtime = QFileInfo(photo).lastModified().toSecsSinceEpoch();

    // Nothing cached: libvips makes it, fitted into the box, in the file's colours.
    EXPECT_FALSE(ShelfThumbnails::fromCache(photo, cache));
    const QImage made = ShelfThumbnails::find(photo, 96, cache);
    ASSERT_FALSE(made.isNull());
    EXPECT_EQ(made.size(), QSize(96, 48));
    EXPECT_GT(middle(made).blue(), 200);
    EXPECT_LT(middle(made).red(), 50);

    // A valid entry of the file manager is taken as it is, from the smallest size there is.
    writeCacheEntry(cache, "large", photo, mtime, Qt::red);
    writeCacheEntry(cache, "normal", photo, mtime, Qt::green);
    const std::optional<QImage> cached = ShelfThumbnails::fromCache(photo, cache);
    ASSERT_TRUE(cached);
    EXPECT_EQ(cached->size(), QSize(128, 64));
    EXPECT_EQ(middle(*cached), QColor(Qt::green));
    EXPECT_EQ(middle(ShelfThumbnails::find(photo, 96, cache)), QColor(Qt::green));

    // Once the file has changed, neither entry is valid any more: libvips again.
    touch(photo, mtime - 3600);
    EXPECT_FALSE(ShelfThumbnails::fromCache(photo, cache));
    EXPECT_GT(middle(ShelfThumbnails::find(photo, 96, cache)).blue(), 200);
    // An entry under the file's name that records another file is not taken either; a valid
    // larger one is.
    writeCacheEntry(cache, "normal", photo, mtime - 3600, Qt::green, "file:///somewhere/else.png");
    EXPECT_FALSE(ShelfThumbnails::fromCache(photo, cache));
    writeCacheEntry(cache, "x-large", photo, mtime - 3600, Qt::red);
    EXPECT_EQ(middle(ShelfThumbnails::find(photo, 96, cache)), QColor(Qt::red));

    // What libvips cannot picture gets none, unless a file manager made one.
    const QString notes = folder.file("Notizen.txt", "Milch, Brot");
    EXPECT_FALSE(ShelfThumbnails::makesPictureOf(notes));
    EXPECT_TRUE(ShelfThumbnails::find(notes, 96, cache).isNull());
    writeCacheEntry(cache, "x-large", notes, QFileInfo(notes).lastModified().toSecsSinceEpoch(),
                    Qt::yellow);
    EXPECT_EQ(middle(ShelfThumbnails::find(notes, 96, cache)), QColor(Qt::yellow));
    // A damaged picture is none, too.
    const QString broken = folder.file("kaputt.jpg", "not a picture");
    EXPECT_TRUE(ShelfThumbnails::makesPictureOf(broken));
    EXPECT_TRUE(ShelfThumbnails::find(broken, 96, cache).isNull());
}

TEST(ShelfThumbnails, TheLoaderSearchesInTheBackgroundOncePerVersionOfAFile) {
    TestFolder folder;
    const QString photo = saveImage(halves(300, 300, red, red), folder.path("rot.png"));
    const QString notes = folder.file("Notizen.txt", "x");
    ThumbnailLoader loader(64);
    QSignalSpy loaded(&loader, &ThumbnailLoader::loaded);
    const QDateTime modified = QFileInfo(photo).lastModified();

    // The first question never waits for the decoder.
    EXPECT_TRUE(loader.thumbnail(photo, modified).isNull());
    EXPECT_TRUE(loader.thumbnail(notes, QFileInfo(notes).lastModified()).isNull());
    ASSERT_TRUE(loaded.wait(20000));
    EXPECT_EQ(loaded.first().first().toString(), photo);
    const QImage picture = loader.thumbnail(photo, modified);
    ASSERT_EQ(picture.size(), QSize(64, 64));
    EXPECT_GT(middle(picture).red(), 200);
    // The text file found nothing, and is not searched again.
    loader.waitForDone();
    EXPECT_EQ(loaded.count(), 1);
    EXPECT_TRUE(loader.thumbnail(notes, QFileInfo(notes).lastModified()).isNull());
    loader.waitForDone();
    EXPECT_EQ(loaded.count(), 1);

    // A newer version of the file is pictured anew.
    saveImage(halves(300, 300, green, green), photo);
    const QDateTime later = modified.addSecs(5);
    touch(photo, later.toSecsSinceEpoch());
    EXPECT_TRUE(loader.thumbnail(photo, later).isNull());
    ASSERT_TRUE(loaded.wait(20000));
    EXPECT_GT(middle(loader.thumbnail(photo, later)).green(), 120);
    // Files that left the shelf are forgotten; asked again, they are searched again.
    loader.retain({notes});
    EXPECT_TRUE(loader.thumbnail(photo, later).isNull());
    ASSERT_TRUE(loaded.wait(20000));
    EXPECT_FALSE(loader.thumbnail(photo, later).isNull());
}
