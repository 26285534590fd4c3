#include "FileKind.h"

#include "Catalogue/OperationRegistry.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

using tramix::FileKind;
using tramix::test::TestFolder;

TEST(FileKind, ClassifiesByLowerCasedExtension) {
    TestFolder dir;
    EXPECT_EQ(FileKind::of(dir.file("Photo.JPG")), FileKind::image);
    EXPECT_EQ(FileKind::of(dir.file("Backup.tar.gz")), FileKind::archive);
    // Nothing on disk: the extension alone decides, which the command line relies on.
    EXPECT_EQ(FileKind::of(dir.path("a.png")), FileKind::image);
    EXPECT_EQ(FileKind::of(dir.path("Makefile")), FileKind::other);
}

TEST(FileKind, FoldersAreFoldersExceptRichTextBundles) {
    TestFolder dir;
    EXPECT_EQ(FileKind::of(dir.folder("Notes.rtfd")), FileKind::document);
    EXPECT_EQ(FileKind::of(dir.file("notes.rtfd")), FileKind::document);
    // The table is not consulted for directories.
    EXPECT_EQ(FileKind::of(dir.folder("archive.zip")), FileKind::folder);
    EXPECT_EQ(FileKind::of(dir.folder("photos.JPG/")), FileKind::folder);
}

TEST(FileKind, UnlistedExtensionsFallBackToTheTypeDatabase) {
    TestFolder dir;
    EXPECT_EQ(FileKind::of(dir.file("song.opus")), FileKind::audio);
    // Videos missing from the table are deliberately offered nothing.
    EXPECT_EQ(FileKind::of(dir.file("clip.mkv")), FileKind::other);
    EXPECT_EQ(FileKind::of(dir.file("data.xyz")), FileKind::other);
}

TEST(FileKind, CanonicalExtensionFoldsAliasesAndCase) {
    EXPECT_EQ(FileKind::canonicalExtension("JPEG"), "jpg");
    EXPECT_EQ(FileKind::canonicalExtension("TGZ"), "tar.gz");
    EXPECT_EQ(FileKind::canonicalExtension("PNG"), "png");
    // Deliberately asymmetric: tif lengthens while jpeg shortens.
    EXPECT_EQ(FileKind::canonicalExtension("Tif"), "tiff");
    EXPECT_EQ(FileKind::canonicalExtension("jpg"), "jpg");
}

TEST(FileKind, CommonKindNeedsExactlyOneKind) {
    using tramix::OperationRegistry::commonKind;
    TestFolder dir;
    EXPECT_EQ(commonKind({dir.file("a.jpg"), dir.file("b.PNG")}), FileKind::image);
    EXPECT_EQ(commonKind({dir.file("c.jpg"), dir.file("d.pdf")}), std::nullopt);
    EXPECT_EQ(commonKind({}), std::nullopt);
}
