#include "Catalogue/OperationRegistry.h"

#include "ConversionError.h"
#include "NameReservations.h"
#include "TestFiles.h"

#include <QSet>
#include <gtest/gtest.h>

namespace Registry = tramix::OperationRegistry;
using tramix::FileOperation;
using tramix::ImageFormat;
using tramix::OperationStyle;
using tramix::test::TestFolder;

using tramix::test::ids;

namespace {

// A copy, so that it outlives the temporary list it was found in.
FileOperation find(const QList<FileOperation>& operations, const QString& id) {
    for (const FileOperation& operation : operations) {
        if (operation.id == id)
            return operation;
    }
    ADD_FAILURE() << "missing " << id.toStdString();
    return {};
}

} // namespace

TEST(OperationRegistry, NoFilesOrMixedKindsGetNothing) {
    TestFolder dir;
    EXPECT_TRUE(Registry::convertOperations({}).isEmpty());
    EXPECT_TRUE(Registry::toolOperations({}).isEmpty());
    const QStringList mixed = {dir.file("a.jpg"), dir.file("b.png"), dir.file("c.pdf")};
    EXPECT_TRUE(Registry::convertOperations(mixed).isEmpty());
    EXPECT_TRUE(Registry::toolOperations(mixed).isEmpty());
}

TEST(OperationRegistry, ImagesAreNotOfferedTheirOwnFormat) {
    TestFolder dir;
    // Built from what this machine can write, so the test does not depend on libvips' build.
    QStringList all;
    for (const ImageFormat& format : ImageFormat::writable())
        all.append("convert.image." + format.ext);
    all.append("convert.image.pdf");
    QStringList withoutPng = all;
    withoutPng.removeAll("convert.image.png");

    EXPECT_EQ(ids(Registry::convertOperations({dir.file("a.png"), dir.file("b.PNG")})), withoutPng);
    EXPECT_EQ(ids(Registry::convertOperations({dir.file("c.jpg"), dir.file("d.png")})), all);
    // jpeg is the same format as jpg.
    EXPECT_FALSE(
        ids(Registry::convertOperations({dir.file("e.jpeg")})).contains("convert.image.jpg"));
}

TEST(OperationRegistry, ImagesToPdfDetailCountsTheImages) {
    TestFolder dir;
    const FileOperation three =
        find(Registry::toolOperations({dir.file("a.jpg"), dir.file("b.jpg"), dir.file("c.png")}),
             "tool.image.pdf");
    EXPECT_EQ(three.detail, "3 Bilder zu einem PDF");
    EXPECT_EQ(three.style, OperationStyle::combined);
    EXPECT_EQ(find(Registry::toolOperations({dir.file("d.jpg")}), "tool.image.pdf").detail,
              "Als PDF");
    // Two is already a count, not a single image.
    EXPECT_EQ(
        find(Registry::toolOperations({dir.file("e.jpg"), dir.file("f.jpg")}), "tool.image.pdf")
            .detail,
        "2 Bilder zu einem PDF");
}

TEST(OperationRegistry, FoldersArePackedIntoOneArchive) {
    TestFolder dir;
    const auto operations = Registry::convertOperations({dir.folder("Ordner")});
    EXPECT_EQ(ids(operations), QStringList({"archive.zip", "archive.tgz"}));
    for (const FileOperation& operation : operations) {
        EXPECT_EQ(operation.style, OperationStyle::combined);
        EXPECT_FALSE(operation.symbol.has_value());
    }
    const FileOperation zip = Registry::zipOperation();
    EXPECT_EQ(zip.id, "archive.zip");
    EXPECT_EQ(zip.symbol, "archivebox");
}

TEST(OperationRegistry, ArchivesAreNotRepackedIntoTheirOwnKind) {
    TestFolder dir;
    // .tar.gz counts as one format, not as .gz.
    const QStringList tgz =
        ids(Registry::convertOperations({dir.file("a.tar.gz"), dir.file("b.TGZ")}));
    EXPECT_FALSE(tgz.contains("convert.archive.tgz"));
    EXPECT_TRUE(tgz.contains("convert.archive.zip"));
    const QStringList zip = ids(Registry::convertOperations({dir.file("c.zip")}));
    EXPECT_FALSE(zip.contains("convert.archive.zip"));
    EXPECT_TRUE(zip.contains("convert.archive.tgz"));
    const QStringList both =
        ids(Registry::convertOperations({dir.file("d.zip"), dir.file("e.tar.gz")}));
    EXPECT_TRUE(both.contains("convert.archive.zip") && both.contains("convert.archive.tgz"));
}

TEST(OperationRegistry, IdsAreUniqueWithinEveryList) {
    TestFolder dir;
    QList<QStringList> inputs = {{dir.folder("Ordner")}};
    for (const char* name : {"a.jpg", "b.pdf", "c.mp3", "d.mp4", "e.docx", "f.csv", "g.zip"})
        inputs.append({dir.file(name)});
    for (const QStringList& paths : inputs) {
        for (const QStringList& list :
             {ids(Registry::convertOperations(paths)), ids(Registry::toolOperations(paths))})
            EXPECT_EQ(QSet<QString>(list.begin(), list.end()).size(), list.size())
                << list.join(' ').toStdString();
    }
}

TEST(OperationRegistry, FailingPerformThrowsAndGivesItsNameBack) {
    TestFolder dir;
    const QString input = dir.file("x.png");
    const tramix::OutputContext context;
    try {
        Registry::imageConvert(ImageFormat::png).perform({input}, context);
        FAIL() << "a file that is no image cannot be converted";
    } catch (const tramix::ConversionError& error) {
        EXPECT_EQ(error.errorDescription().toStdString(), "„x.png“ konnte nicht gelesen werden.");
    }

    const FileOperation pdf = find(Registry::convertOperations({input}), "convert.image.pdf");
    ASSERT_TRUE(pdf.perform);
    EXPECT_THROW(pdf.perform({input}, context), tramix::ConversionError);
    // The name reserved for the failed PDF must be free again.
    const QString expected = dir.path("x.pdf");
    EXPECT_EQ(tramix::NameReservations::unique(expected).toStdString(), expected.toStdString());
    tramix::NameReservations::release({expected});
}
