#include "PDF/PDFConverter.h"

#include "Catalogue/OperationRegistry.h"
#include "Image/ImageConverter.h"
#include "JobRunner.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "TestPDFs.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;
using vips::VImage;
using Groups = QList<PageRanges::Group>;

namespace {

QString fiveTextPages(const TestFolder& dir, const QString& name = "Bericht.pdf") {
    return dir.file(
        name, textPDF({"Seite eins", "Seite zwei", "Seite drei", "Seite vier", "Seite fuenf"}));
}

// Everything qpdf shows of the objects inside, streams uncompressed.
QString objectsOf(const QString& pdf) {
    return toolOutput("qpdf", {"--qdf", "--object-streams=disable", pdf, "-"});
}

} // namespace

TEST(PageRanges, ParsesTheWrittenGroupsAndNamesTheMistake) {
    EXPECT_EQ(PDFConverter::parseRanges("1-2, 3-5, 6-", 10),
              (Groups{{1, 2}, {3, 4, 5}, {6, 7, 8, 9, 10}}));
    EXPECT_EQ(PDFConverter::parseRanges("2;4–5", 10), (Groups{{2}, {4, 5}}));
    EXPECT_EQ(PDFConverter::parseRanges(",7,", 10), (Groups{{7}}));
    EXPECT_EQ(PDFConverter::parseRanges(" - ", 5), (Groups{{1, 2, 3, 4, 5}}));
    EXPECT_EQ(PDFConverter::parseRanges("-2", 5), (Groups{{1, 2}}));
    EXPECT_EQ(PDFConverter::parseRanges("+2", 5), (Groups{{2}}));
    EXPECT_EQ(PDFConverter::parseRanges("1-3, 2", 5), (Groups{{1, 2, 3}, {2}}));

    auto error = [](const QString& text) {
        return errorOf([&] { PDFConverter::parseRanges(text, 5); });
    };
    EXPECT_EQ(error("5-3"), "„5-3“: Der Bereich ist rückwärts.");
    EXPECT_EQ(error("7-3"), "„7-3“: Der Bereich ist rückwärts.");
    EXPECT_EQ(error("3-7"), "Seite 7 gibt es nicht – das PDF hat 5 Seiten.");
    EXPECT_EQ(error("0"), "Seite 0 gibt es nicht – das PDF hat 5 Seiten.");
    for (const QString& bad :
         QStringList{"a", "1-2-3", "1.5", "1 2", "2-x", "99999999999999999999"})
        EXPECT_EQ(error(bad), "„" + bad + "“ ist kein gültiger Seitenbereich.");
    EXPECT_EQ(error(" 1\t-\tb "), "„1\t-\tb“ ist kein gültiger Seitenbereich.");
    for (const QString& empty : QStringList{"", " , ;\t", ",,,"})
        EXPECT_EQ(error(empty), "Bitte Seiten angeben, z. B. 1-2, 3-5.");
    // Labels name the pages of split parts; the English one the command line's.
    EXPECT_EQ(PDFConverter::label({}), "");
    EXPECT_EQ(PDFConverter::label({1, 3, 8}, PageRanges::englishPrefix), "p. 1, 3, 8");
}

TEST(PDFConverter, SplitCopiesPagesAsTheyAre) {
    TestFolder dir;
    QList<TextPage> pages{TextPage("Seite eins"), TextPage("Seite zwei", 90),
                          TextPage("Seite drei"), TextPage("Seite vier")};
    pages[2].size = QSizeF(300, 800);
    const QString source = dir.file("Bericht.pdf", pagesPDF(pages));

    const QStringList one = PDFConverter::split(source, {{}, {2, 3}}, {});
    ASSERT_EQ(one, QStringList{dir.path("Bericht S. 2–3.pdf")});
    EXPECT_TRUE(passesCheck(one[0]));
    EXPECT_EQ(pageCountOf(one[0]), 2);
    EXPECT_EQ(rotationOf(one[0], 1), 90);
    EXPECT_EQ(pageSizeOf(one[0], 2), "300 x 800");
    EXPECT_EQ(textOf(one[0]).simplified(), "Seite zwei Seite drei");

    const QStringList several = PDFConverter::split(source, {{1, 2}, {4, 1}, {4}}, {});
    const QString folder = dir.path("Bericht aufgeteilt");
    EXPECT_EQ(several,
              (QStringList{folder + "/Teil 1 – S. 1–2.pdf", folder + "/Teil 2 – S. 4, 1.pdf",
                           folder + "/Teil 3 – S. 4.pdf"}));
    EXPECT_EQ(textOf(several[1]).simplified(), "Seite vier Seite eins");

    Groups ten;
    for (qint64 page = 1; page <= 10; ++page)
        ten.append(PageRanges::Group{(page - 1) % 4 + 1});
    const QStringList padded = PDFConverter::split(source, ten, {});
    EXPECT_EQ(QFileInfo(padded[0]).fileName(), "Teil 01 – S. 1.pdf");
    EXPECT_EQ(QFileInfo(padded[9]).fileName(), "Teil 10 – S. 2.pdf");

    const QStringList before = dir.names();
    EXPECT_EQ(errorOf([&] {
                  PDFConverter::split(source, {{3, 9}}, {});
              }),
              "Seite 9 gibt es nicht.");
    EXPECT_EQ(errorOf([&] {
                  PDFConverter::split(source, {{}, {}}, {});
              }),
              "Keine Seiten ausgewählt.");
    EXPECT_EQ(dir.names(), before);
}

TEST(PDFConverter, MergeTakesTheListedPagesInOrder) {
    TestFolder dir;
    const QString first = dir.file("a.pdf", textPDF({"Alpha eins", "Alpha zwei", "Alpha drei"}));
    const QString second = dir.file("b.pdf", textPDF({"Beta eins", "Beta zwei"}));
    const QString out = dir.folder("out");
    const auto merge = [](const QList<PDFConverter::MergePart>& parts, const QString& name) {
        return PDFConverter::merge(parts, name, {});
    };

    const QString merged = PDFConverter::merge(
        {{first, QList<qint64>{3, 99, 1}}, {second, {}}, {first, QList<qint64>{3}}}, "a/b.PDF",
        OutputContext{out});
    EXPECT_EQ(merged, out + "/a-b.PDF");
    EXPECT_TRUE(passesCheck(merged));
    EXPECT_EQ(pageCountOf(merged), 5);
    EXPECT_EQ(textOf(merged).simplified(), "Alpha drei Alpha eins Beta eins Beta zwei Alpha drei");
    EXPECT_EQ(merge({{second, {}}}, " \t "), dir.path("Zusammengeführt.pdf"));
    EXPECT_EQ(merge({{second, {}}}, "Akte"), dir.path("Akte.pdf"));
    EXPECT_EQ(merge({{second, {}}}, "Akte"), dir.path("Akte 2.pdf"));

    EXPECT_EQ(errorOf([&] { merge({}, "x"); }), "Keine Dateien.");
    EXPECT_EQ(errorOf([&] {
                  merge({{first, QList<qint64>{0, 4}}}, "x");
              }),
              "Keine Seiten zum Zusammenführen.");
    encrypt(second, dir.path("locked.pdf"));
    EXPECT_EQ(errorOf([&] {
                  merge({{first, {}}, {dir.path("locked.pdf"), {}}}, "x");
              }),
              "„locked.pdf“ ist passwortgeschützt.");
    EXPECT_FALSE(QFile::exists(dir.path("x.pdf")));
    EXPECT_EQ(PDFConverter::pageCount(first), 3);
}

TEST(PDFConverter, PagesBecomeImagesTurnedAndCroppedAsShown) {
    TestFolder dir;
    QList<TextPage> pages{TextPage("Seite eins"), TextPage("Seite zwei", 90),
                          TextPage("Seite drei")};
    pages[2].cropBox = "[50 100 350 500]";
    const QString source = dir.file("Heft.pdf", pagesPDF(pages));

    const QString folder = PDFConverter::toImages(source, ImageFormat::png, {}, 72);
    EXPECT_EQ(folder, dir.path("Heft"));
    EXPECT_EQ(namesIn(folder), (QStringList{"Seite 1.png", "Seite 2.png", "Seite 3.png"}));
    EXPECT_EQ(sizeOf(folder + "/Seite 1.png"), "595 x 842");
    EXPECT_EQ(openImage(folder + "/Seite 1.png").bands(), 3);
    EXPECT_EQ(sizeOf(folder + "/Seite 2.png"), "842 x 595");
    EXPECT_EQ(sizeOf(folder + "/Seite 3.png"), "300 x 400");
    const VImage turned = openImage(folder + "/Seite 2.png");
    // Text at the page's top left lands at the top right once the page is turned clockwise.
    EXPECT_LT(turned.extract_area(600, 0, 242, 300).min(), 100);
    EXPECT_EQ(turned.extract_area(0, 0, 500, 595).min(), 255);

    // One page makes one image, at print resolution.
    const QString single = dir.file("Blatt.pdf", textPDF({"Nur eine Seite"}));
    const QString jpeg = PDFConverter::toImages(single, ImageFormat::jpg, {});
    EXPECT_EQ(jpeg, dir.path("Blatt.jpg"));
    EXPECT_EQ(sizeOf(jpeg), "2479 x 3508");
    EXPECT_EQ(pixelAt(jpeg, 5, 5), white);

    // Colours come out in their places: red left, blue right.
    const QString pdf =
        ImageConverter::makePDF({saveImage(halves(200, 100, red, blue), dir.path("halves.png"))},
                                NameReservation(dir.path("Farben.pdf")));
    const QString colours = PDFConverter::toImages(pdf, ImageFormat::png, {}, 72);
    EXPECT_TRUE(isNear(pixelAt(colours, 20, 50), red, 8));
    EXPECT_TRUE(isNear(pixelAt(colours, 180, 50), blue, 8));

    QList<TextPage> many;
    for (int i = 1; i <= 12; ++i)
        many.append(TextPage(QStringLiteral("Seite %1").arg(i), 0, QSizeF(100, 100)));
    const QString twelve = dir.file("Zwoelf.pdf", pagesPDF(many));
    const QStringList padded = namesIn(PDFConverter::toImages(twelve, ImageFormat::png, {}, 36));
    EXPECT_EQ(padded.size(), 12);
    EXPECT_EQ(padded.first(), "Seite 01.png");
}

TEST(PDFConverter, TextReadsTheTextLayerAndRecognisesScannedPages) {
    TestFolder dir;
    const QString text = PDFConverter::toText(fiveTextPages(dir), {});
    EXPECT_EQ(text, dir.path("Bericht.txt"));
    EXPECT_EQ(readText(text),
              "Seite eins\n\nSeite zwei\n\nSeite drei\n\nSeite vier\n\nSeite fuenf");

    // Scanned pages are read by text recognition; a blank one adds no empty paragraph.
    const QString typed = dir.file("typed.pdf", textPDF({"Getippte Seite"}));
    const QStringList scans{saveImage(halves(1000, 1400, white, white), dir.path("weiss.png")),
                            saveImage(textImage("Gescannte Seite", 200), dir.path("scan.png"))};
    const QString scanned = ImageConverter::makePDF(scans, NameReservation(dir.path("scan.pdf")));
    const QString mixed = PDFConverter::merge({{typed, {}}, {scanned, {}}}, "mixed", {});
    EXPECT_EQ(readText(PDFConverter::toText(mixed, {})), "Getippte Seite\n\nGescannte Seite");

    const QString blank = dir.file("leer.pdf", textPDF({""}));
    EXPECT_EQ(errorOf([&] { PDFConverter::toText(blank, {}); }),
              "Im PDF wurde kein Text gefunden.");
    EXPECT_FALSE(QFile::exists(dir.path("leer.txt")));
}

TEST(PDFConverter, CompressShrinksPhotosAndLeavesTheRestIntact) {
    TestFolder dir;
    const double dpi = 300 / 25.4;
    const VImage photo =
        photoLike(2400, 1600).copy(VImage::option()->set("xres", dpi)->set("yres", dpi));
    const QString photos =
        ImageConverter::makePDF({saveImage(photo, dir.path("photo.jpg"), "[Q=95]")},
                                NameReservation(dir.path("photo.pdf")));
    QList<TextPage> page{TextPage("Vertrag mit Link")};
    page[0].linkURI = "https://example.org/vertrag";
    const QString text = dir.file("text.pdf", pagesPDF(page));
    const QString source = PDFConverter::merge({{text, {}}, {photos, {}}}, "Mappe", {});

    const QString smaller = PDFConverter::compress(source, {});
    EXPECT_EQ(smaller, dir.path("Mappe komprimiert.pdf"));
    EXPECT_TRUE(passesCheck(smaller));
    EXPECT_LT(QFileInfo(smaller).size(), QFileInfo(source).size() / 2);
    EXPECT_EQ(pageCountOf(smaller), 2);
    EXPECT_EQ(pageSizeOf(smaller, 2), pageSizeOf(source, 2));
    EXPECT_EQ(textOf(smaller).simplified(), "Vertrag mit Link");
    const QString inside = objectsOf(smaller);
    EXPECT_TRUE(inside.contains("/URI (https://example.org/vertrag)"));
    EXPECT_TRUE(inside.contains("/BaseFont /Helvetica"));
    // The photo is drawn at 576 × 384 points: 150 dpi makes it 1200 × 800 pixels.
    EXPECT_TRUE(inside.contains("/Width 1200") && inside.contains("/Height 800"));

    // A photo inside a form XObject (as qpdf's underlay makes it) is found and shrunk as well.
    const QString card = dir.file("card.pdf", pagesPDF({TextPage("Karte", 0, QSizeF(576, 384))}));
    toolOutput("qpdf", {card, "--underlay", photos, "--", dir.path("Unterlage.pdf")});
    const QString underlaid = PDFConverter::compress(dir.path("Unterlage.pdf"), {});
    EXPECT_TRUE(objectsOf(underlaid).contains("/Subtype /Form"));
    EXPECT_TRUE(objectsOf(underlaid).contains("/Width 1200"));
    EXPECT_EQ(textOf(underlaid).simplified(), "Karte");

    EXPECT_EQ(errorOf([&] { PDFConverter::compress(smaller, {}); }),
              "Das PDF ist bereits optimal komprimiert.");
    EXPECT_FALSE(QFile::exists(dir.path("Mappe komprimiert komprimiert.pdf")));
}

TEST(PDFConverter, BadInputsFailAloneAndLeaveNothing) {
    TestFolder dir;
    const QString good = fiveTextPages(dir, "gut.pdf");
    const QString empty = dir.file("leer.pdf", pagesPDF({}));
    encrypt(good, dir.path("geheim.pdf"));
    const QMap<QString, QString> expected{
        {dir.file("kein.pdf", "Das ist nur Text."), "„kein.pdf“ konnte nicht gelesen werden."},
        {dir.file("kaputt.pdf", "%PDF-1.4\n" + QByteArray(500, '\x07')),
         "„kaputt.pdf“ konnte nicht gelesen werden."},
        {empty, "„leer.pdf“ konnte nicht gelesen werden."},
        {dir.path("geheim.pdf"), "„geheim.pdf“ ist passwortgeschützt."},
    };
    const QStringList before = dir.names();
    const QList<FileOperation> all =
        OperationRegistry::convertOperations({good}) + OperationRegistry::toolOperations({good});
    for (const QString id : {"convert.pdf.png", "convert.pdf.txt", "tool.pdf.compress"}) {
        SCOPED_TRACE(id.toStdString());
        const qsizetype found = ids(all).indexOf(id);
        ASSERT_GE(found, 0);
        const JobResult result = JobRunner::run(all[found], expected.keys() << good, {});
        ASSERT_EQ(result.outputs.size(), 1);
        EXPECT_TRUE(QFileInfo(result.outputs[0]).fileName().startsWith("gut"));
        ASSERT_EQ(result.failures.size(), 4);
        for (const JobResult::Failure& failure : result.failures) {
            const bool noText = id == "convert.pdf.txt" && failure.input == empty;
            EXPECT_EQ(failure.message,
                      noText ? "Im PDF wurde kein Text gefunden." : expected[failure.input]);
        }
        QDir(result.outputs[0]).removeRecursively();
        QFile::remove(result.outputs[0]);
        EXPECT_EQ(dir.names(), before);
    }
}
