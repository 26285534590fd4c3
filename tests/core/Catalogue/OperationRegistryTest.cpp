#include "Catalogue/OperationRegistry.h"

#include "Catalogue/Catalogue.h"
#include "Image/ImageFormat.h"
#include "TestFiles.h"

#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

using namespace tramix;
using test::errorOf;
using test::ids;

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

QList<FileOperation> actions(const QStringList& paths, const DesktopHandlers* desktop = nullptr) {
    return OperationRegistry::operations(WheelMode::actions, paths, desktop);
}

QStringList convertIds(const QStringList& paths) {
    return ids(OperationRegistry::convertOperations(paths));
}

} // namespace

TEST(OperationRegistry, EveryRowIsReachableAndNoWheelShowsAnIdTwice) {
    test::TestFolder dir;
    // Two files of each kind, since a file is not offered its own format.
    QList<QStringList> samples = {{dir.folder("Ordner")}, {dir.file("h.jpg"), dir.file("i.pdf")}};
    for (const char* name : {"a.jpg", "a.png", "b.pdf", "c.mp3", "c.wav", "d.mp4", "d.mov",
                             "e.docx", "e.md", "f.csv", "f.xlsx", "g.zip", "g.tar.gz"})
        samples.append({dir.file(name)});
    QSet<QString> offered;
    for (const QStringList& paths : samples) {
        for (WheelMode mode : WheelMode::allCases()) {
            const QStringList list = ids(OperationRegistry::operations(mode, paths));
            const QSet<QString> unique(list.begin(), list.end());
            EXPECT_EQ(unique.size(), list.size()) << list.join(' ').toStdString();
            offered.unite(unique);
        }
    }
    const QRegularExpression shape("^(convert\\.[a-z]+\\.[a-z0-9]+|tool\\.[a-z]+\\.[a-z0-9]+|"
                                   "archive\\.[a-z]+|action\\.[a-z]+)$");
    for (const CatalogueRow& row : Catalogue::rows()) {
        const QString id = QString::fromLatin1(row.id);
        EXPECT_TRUE(shape.match(id).hasMatch()) << row.id;
        // HEIC and AVIF need encoders that a machine may lack; the rest is always there.
        const bool optional = row.work.available && !row.work.available();
        EXPECT_TRUE(offered.contains(id) || optional) << row.id << " is offered for nothing";
    }
}

TEST(OperationRegistry, NoFilesGetNothingAndMixedKindsOnlyTheActions) {
    test::TestFolder dir;
    for (WheelMode mode : WheelMode::allCases())
        EXPECT_TRUE(OperationRegistry::operations(mode, {}).isEmpty());
    const QStringList mixed = {dir.file("a.jpg"), dir.file("b.png"), dir.file("c.pdf")};
    EXPECT_TRUE(OperationRegistry::convertOperations(mixed).isEmpty());
    EXPECT_TRUE(OperationRegistry::toolOperations(mixed).isEmpty());
    // The actions are the same for every set of files; packing comes last, as one archive.
    const QStringList expected = {"action.airdrop", "action.float",    "action.copy", "action.move",
                                  "action.path",    "action.terminal", "archive.zip"};
    EXPECT_EQ(ids(actions(mixed)), expected);
    EXPECT_EQ(ids(actions({dir.folder("Ordner")})), expected);
    EXPECT_EQ(actions(mixed).last().style, OperationStyle::combined);
}

TEST(OperationRegistry, FormatsAreNotOfferedToFilesAlreadyInThem) {
    test::TestFolder dir;
    // Built from what this machine can write, so the test does not depend on libvips' build.
    QStringList all;
    for (const ImageFormat& format : ImageFormat::writable())
        all.append("convert.image." + format.ext);
    all.append("convert.image.pdf");
    EXPECT_EQ(convertIds({dir.file("c.jpg"), dir.file("d.png")}), all);
    all.removeAll("convert.image.png");
    EXPECT_EQ(convertIds({dir.file("a.png"), dir.file("b.PNG")}), all);
    // jpeg is the same format as jpg, and .tar.gz one format rather than .gz.
    EXPECT_FALSE(convertIds({dir.file("e.jpeg")}).contains("convert.image.jpg"));
    const QStringList tgz = convertIds({dir.file("f.tar.gz"), dir.file("g.TGZ")});
    EXPECT_FALSE(tgz.contains("convert.archive.tgz"));
    EXPECT_TRUE(tgz.contains("convert.archive.zip"));
    const QStringList both = convertIds({dir.file("h.zip"), dir.file("i.tar.gz")});
    EXPECT_TRUE(both.contains("convert.archive.zip") && both.contains("convert.archive.tgz"));

    const auto folders = OperationRegistry::convertOperations({dir.folder("Ordner")});
    EXPECT_EQ(ids(folders), QStringList({"archive.zip", "archive.tgz"}));
    EXPECT_EQ(folders.first().style, OperationStyle::combined);
}

TEST(OperationRegistry, ImagesToPdfIsOneDocumentNamedByTheImageCount) {
    test::TestFolder dir;
    const auto toPDF = [&](const QStringList& paths) {
        return find(OperationRegistry::toolOperations(paths), "tool.image.pdf");
    };
    EXPECT_EQ(toPDF({dir.file("a.jpg")}).detail, "Als PDF");
    EXPECT_EQ(toPDF({dir.file("b.jpg"), dir.file("c.png")}).detail, "2 Bilder zu einem PDF");
    EXPECT_EQ(toPDF({dir.file("d.png")}).style, OperationStyle::combined);
}

TEST(OperationRegistry, TheInterfaceGetsEveryTextInEnglishTooAndTheDefaultStaysGerman) {
    test::TestFolder dir;
    const QStringList images = {dir.file("b.jpg"), dir.file("c.png")};
    const auto english = [&](WheelMode mode) {
        return OperationRegistry::operations(mode, images, nullptr, Language::english);
    };
    EXPECT_EQ(find(english(WheelMode::tools), "tool.image.pdf").detail, "2 images in one PDF");
    EXPECT_EQ(find(english(WheelMode::convert), "convert.image.webp").detail, "Convert to WEBP");
    EXPECT_EQ(find(english(WheelMode::actions), "action.copy").title, "COPY");
    EXPECT_EQ(find(OperationRegistry::operations(WheelMode::actions, images), "action.copy").title,
              "KOPIEREN");
    // Only names that read the same in both languages (formats, TEXT, WEB) lack an English
    // text; every sentence has one.
    for (const CatalogueRow& row : Catalogue::rows()) {
        EXPECT_TRUE(row.detail.english) << row.id;
        EXPECT_TRUE(!row.detailForMany || row.detailForMany.english) << row.id;
        EXPECT_TRUE(row.title.english || QString::fromUtf8(row.title.german).size() <= 8) << row.id;
    }
}

TEST(OperationRegistry, ActionsRunOnTheDesktopOrSayWhatTheyNeed) {
    test::TestFolder dir;
    const QStringList files = {dir.file("a.txt"), dir.file("b.txt")};
    const QString sentence = "Die Aktion „KOPIEREN“ braucht die Zwischenablage des Desktops und "
                             "geht nur in der laufenden Tramix-App, nicht in der Befehlszeile.";
    EXPECT_EQ(OperationRegistry::needsDesktop("action.copy"), sentence);
    EXPECT_EQ(OperationRegistry::needsDesktop("tool.pdf.compress"), std::nullopt);
    const OutputContext context;
    EXPECT_EQ(errorOf([&] { find(actions(files), "action.copy").perform(files, context); }),
              sentence);

    DesktopHandlers desktop;
    QStringList copied;
    desktop.copyFiles = [&](const QStringList& paths) { copied = paths; };
    const FileOperation copy = find(actions(files, &desktop), "action.copy");
    EXPECT_EQ(copy.style, OperationStyle::instant);
    EXPECT_TRUE(copy.perform(files, context).isEmpty());
    EXPECT_EQ(copied, files);
    const FileOperation path = find(actions(files, &desktop), "action.path");
    EXPECT_EQ(errorOf([&] { path.perform(files, context); }), "Nicht unterstützt: Pfad kopieren");
}
