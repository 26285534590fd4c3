#include "FileKind.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

using tramix::FileKind;

TEST(FileKind, TheLowerCasedExtensionDecidesThenTheTypeDatabase) {
    tramix::test::TestFolder dir;
    const std::pair<QString, FileKind> cases[] = {
        {dir.file("Photo.JPG"), FileKind::image},
        {dir.file("Backup.tar.gz"), FileKind::archive},
        // Nothing on disk: the extension alone decides, which the command line relies on.
        {dir.path("a.png"), FileKind::image},
        {dir.path("Makefile"), FileKind::other},
        // Folders are folders whatever their name, except rich-text bundles.
        {dir.folder("Notes.rtfd"), FileKind::document},
        {dir.file("notes.rtfd"), FileKind::document},
        {dir.folder("archive.zip"), FileKind::folder},
        {dir.file("song.opus"), FileKind::audio},
        // ffmpeg reads every common container; ts stays out, being as often TypeScript.
        {dir.file("clip.MKV"), FileKind::video},
        {dir.file("talk.webm"), FileKind::video},
        {dir.file("tape.m2ts"), FileKind::video},
        {dir.file("main.ts"), FileKind::other},
        {dir.file("song.ogg"), FileKind::audio},
        {dir.file("film.ac3"), FileKind::audio},
        {dir.file("data.xyz"), FileKind::other},
        // No file is named with NULs; the type database must not be asked about such a name.
        {dir.path(QString::fromUtf8("x\0\0\0\0.ts", 9)), FileKind::other},
    };
    for (const auto& [path, kind] : cases)
        EXPECT_EQ(FileKind::of(path), kind) << path.toStdString();
}

TEST(FileKind, CanonicalExtensionFoldsAliasesAndCase) {
    EXPECT_EQ(FileKind::canonicalExtension("JPEG"), "jpg");
    EXPECT_EQ(FileKind::canonicalExtension("TGZ"), "tar.gz");
    // Deliberately asymmetric: tif lengthens while jpeg shortens.
    EXPECT_EQ(FileKind::canonicalExtension("Tif"), "tiff");
}
