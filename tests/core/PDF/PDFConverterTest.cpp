// qpdf's headers ask which of its pointer types code uses; the core says the same.
#define POINTERHOLDER_TRANSITION 4

#include "PDF/PDFConverter.h"

#include "AtomicFile.h"
#include "Catalogue/OperationRegistry.h"
#include "Image/ImageConverter.h"
#include "JobRunner.h"
#include "PDF/PDFDocument.h"
#include "PDF/PDFImageCompressor.h"
#include "PDF/PDFRenderer.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "TestPDFs.h"

#include <QDir>
#include <QFile>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

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

// Fuzzing found a 658-byte PDF of two 5,270-point pages taking 6.3 GB as PNG, and a PDF with
// one 20,000 × 20,000 image taking 810 MB to compress.
TEST(PDFConverter, HugePagesAndImagesStayWithinTheMemoryBudget) {
    TestFolder dir;
    const QString photo = dir.file("Foto.pdf", greyImagePDF(12000, 576));
    const MemoryPeak compressing;
    const QString smaller = PDFConverter::compress(photo, {});
    // Shrunk while decoding, block by block, to the 1,200 pixels that 576 points need at screen
    // resolution: its 144 MB of samples, more than the budget, are never held.
    EXPECT_LT(compressing.rise(), PDFImageCompressor::memoryBudget);
    EXPECT_TRUE(objectsOf(smaller).contains("/Width 1200"));
    EXPECT_TRUE(isNear(pixelAt(PDFConverter::toImages(smaller, ImageFormat::png, {}, 72), 300, 300),
                       {180, 180, 180}, 2));

    const QString poster =
        dir.file("Plakat.pdf", pagesPDF({TextPage("Plakat", 0, QSizeF(5270, 5270))}));
    const MemoryPeak rendering;
    const QString drawn = PDFConverter::toImages(poster, ImageFormat::png, {});
    // Some room for what the sanitizers keep of freed memory.
    EXPECT_LT(rendering.rise(), PDFRenderer::renderBudget + 300'000'000);
    // As large as the budget allows, at the resolution that gives, which the image records so
    // that it still prints at the page's size.
    const VImage image = openImage(drawn);
    EXPECT_LE(qint64(image.width()) * image.height(), PDFRenderer::maxPagePixels);
    EXPECT_GT(image.width(), 8600);
    EXPECT_NEAR(image.xres() * 25.4, image.width() / (5270 / 72.0), 0.5);

    // poppler decodes a progressive JPEG (its coefficients) and a JPEG 2000 picture whole: such
    // images are judged by their headers, before anything is decoded.
    const QByteArray progressiveFrame("\xFF\xD8\xFF\xC2\x00\x11\x08\x2E\xE0\x2E\xE0\x03"
                                      "\x01\x22\x00\x02\x11\x01\x03\x11\x01",
                                      21);
    const QByteArray rgb = "/Width 12000 /Height 12000 /ColorSpace /DeviceRGB /BitsPerComponent 8";
    const QString jpeg =
        dir.file("Mosaik.pdf", imagePDF(rgb + " /Filter /DCTDecode", progressiveFrame, 576));
    const QString jpx = dir.file("Karte.pdf", imagePDF(rgb + " /Filter /JPXDecode", "?", 576));
    for (const QString& pdf : {jpeg, jpx}) {
        EXPECT_EQ(
            errorOf([&] { PDFConverter::toImages(pdf, ImageFormat::png, {}, 72); }),
            "Die Seite 1 enthält ein Bild, das zu groß zum Rendern ist (12000 × 12000 Pixel).");
    }
}

// Fuzzing found compress exiting with 0 for bit-flipped PDFs with a result that no reader opened,
// and on a full disk with a truncated one. Every PDF result is read back before it gets its name.
TEST(PDFConverter, WrittenPDFsAreReadBackAndWriteErrorsNamed) {
    TestFolder dir;
    const QString source = fiveTextPages(dir);
    std::shared_ptr<QPDF> document = PDFDocument::open(source);
    EXPECT_EQ(errorOf([&] { PDFDocument::writeTo(*document, "/dev/full", dir.path("voll.pdf")); }),
              "„voll.pdf“ konnte nicht geschrieben werden: Der Datenträger ist voll.");

    // A writer that leaves the file empty, as a full disk did: refused, and nothing is left.
    const QStringList before = dir.names();
    auto nothingWritten = [](QPDFWriter& writer) { writer.setOutputMemory(); };
    EXPECT_EQ(errorOf([&] {
                  PDFDocument::write(*document, NameReservation(dir.path("leer.pdf")),
                                     {.source = "Bericht.pdf", .configure = nothingWritten});
              }),
              "„Bericht.pdf“ konnte nicht gelesen werden.");
    EXPECT_EQ(dir.names(), before);

    // The temporary is a path through a handle, without the result's name or extension: qpdf
    // writes there and poppler reads there.
    AtomicFile::write(NameReservation(dir.path("Kopie.pdf")), [&](const QString& temporary) {
        EXPECT_FALSE(temporary.endsWith(".pdf"));
        PDFDocument::writeTo(*document, temporary, "Kopie.pdf");
        EXPECT_EQ(PDFRenderer::open(temporary)->pages(), 5);
    });
    EXPECT_EQ(pageCountOf(dir.path("Kopie.pdf")), 5);

    // A page tree whose declared page count a bit flip broke: qpdf reads the pages anyway, but
    // poppler trusts the count and saw none.
    QByteArray flipped = pagesPDF({TextPage("eins"), TextPage("zwei"), TextPage("drei")});
    flipped.replace("/Count 3 ", "/Count(3)");
    const QString result = PDFConverter::compress(dir.file("Zaehlung.pdf", flipped), {});
    EXPECT_EQ(pageCountOf(result), 3);
    EXPECT_EQ(textOf(result).simplified(), "eins zwei drei");
}

// Pages to images wrote into a folder that a kill or a failing page left half full, and a link
// swapped in for the folder's name led the pages elsewhere.
TEST(PDFConverter, PageFoldersAppearWholeAndNeverThroughALink) {
    TestFolder dir;
    QList<TextPage> pages{TextPage("eins"), TextPage("zwei"), TextPage("drei"), TextPage("vier")};
    pages[2].size = QSizeF(200000, 200000);
    const QString giant = dir.file("Riese.pdf", pagesPDF(pages));
    const QStringList before = dir.names();
    EXPECT_EQ(errorOf([&] { PDFConverter::toImages(giant, ImageFormat::png, {}, 36); }),
              "Die Seite 3 ist zu groß zum Rendern (200000 × 200000 pt).");
    EXPECT_EQ(dir.names(), before);

    // A link under the folder's name, to someone else's folder, is neither followed nor replaced.
    const QString victim = dir.folder("Fremd");
    ASSERT_TRUE(QFile::link(victim, dir.path("Heft")));
    ASSERT_TRUE(QFile::link(victim, dir.path("Heft aufgeteilt")));
    const QString source = dir.file("Heft.pdf", textPDF({"eins", "zwei", "drei"}));
    const QString folder = PDFConverter::toImages(source, ImageFormat::png, {}, 36);
    EXPECT_EQ(folder, dir.path("Heft 2"));
    EXPECT_FALSE(QFileInfo(folder).isSymLink());
    EXPECT_EQ(namesIn(folder), (QStringList{"Seite 1.png", "Seite 2.png", "Seite 3.png"}));
    const QStringList parts = PDFConverter::split(source, {{1}, {2, 3}}, {});
    EXPECT_EQ(parts, (QStringList{dir.path("Heft aufgeteilt 2/Teil 1 – S. 1.pdf"),
                                  dir.path("Heft aufgeteilt 2/Teil 2 – S. 2–3.pdf")}));
    EXPECT_EQ(pageCountOf(parts[1]), 2);
    EXPECT_EQ(namesIn(victim), QStringList{});
    EXPECT_EQ(QFileInfo(dir.path("Heft")).symLinkTarget(), victim);
}

// While pages are drawn, a link to someone else's folder is swapped in for the staging folder's
// name: the pages still go into the folder made for them, through its handle, and never into the
// other one.
TEST(PDFConverter, PagesNeverFollowALinkSwappedInWhileTheyAreDrawn) {
    TestFolder dir;
    const QString victim = dir.folder("Fremd");
    const QString out = dir.folder("Ausgabe");
    QList<TextPage> pages;
    for (int i = 1; i <= 12; ++i)
        pages.append(TextPage(QStringLiteral("Seite %1").arg(i)));
    const QString source = dir.file("Heft.pdf", pagesPDF(pages));
    std::atomic<bool> finished = false, swapped = false;
    std::jthread swapper([&] {
        while (!finished && !swapped) {
            const QStringList staging =
                QDir(out).entryList({".Heft*.part"}, QDir::Dirs | QDir::Hidden);
            if (!staging.isEmpty()) {
                const QString name = out + u'/' + staging[0];
                swapped = QDir().rename(name, out + "/weggeschoben") && QFile::link(victim, name);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    const QString error =
        errorOf([&] { PDFConverter::toImages(source, ImageFormat::png, OutputContext{out}, 150); });
    finished = true;
    swapper.join();
    ASSERT_TRUE(swapped);
    // Which refusal comes depends on whether the swap beats the folder's opening; either way the
    // job fails and nothing lands in the other folder.
    EXPECT_TRUE(
        QStringList({"„Heft“ wurde während des Schreibens ersetzt.",
                     "„Heft“ konnte nicht geschrieben werden: Der Ordner ist nicht mehr da."})
            .contains(error))
        << error.toStdString();
    EXPECT_EQ(namesIn(victim), QStringList{});
}
