#include "Text/VisionTools.h"

#include "Image/ImageBudget.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "Text/TextBands.h"
#include "Text/TextRecognizer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <algorithm>
#include <gtest/gtest.h>
#include <tesseract/baseapi.h>

using namespace tramix;
using namespace tramix::test;

namespace {

// Edits needed to turn one text into the other, per character of the expected text.
double characterErrorRate(const QString& actual, const QString& expected) {
    std::vector<qsizetype> previous(size_t(actual.size()) + 1), current(previous.size());
    for (size_t j = 0; j < previous.size(); ++j)
        previous[j] = qsizetype(j);
    for (qsizetype i = 1; i <= expected.size(); ++i) {
        current[0] = i;
        for (qsizetype j = 1; j <= actual.size(); ++j) {
            const qsizetype change = previous[j - 1] + (expected[i - 1] == actual[j - 1] ? 0 : 1);
            current[j] = std::min({change, previous[j] + 1, current[j - 1] + 1});
        }
        std::swap(previous, current);
    }
    return double(previous.back()) / double(std::max<qsizetype>(1, expected.size()));
}

const QStringList words{"Garten", "Fenster", "Papier", "Markt",  "Stein", "river",
                        "yellow", "window",  "silent", "orange", "Tisch", "Wolke"};

QString column(const QString& name, int lines) {
    QStringList text;
    for (int line = 1; line <= lines; ++line)
        text << QString("%1 %2 %3 %4 %5")
                    .arg(name)
                    .arg(line, 2, 10, QChar('0'))
                    .arg(words[(line * 5) % words.size()], words[(line * 7 + 3) % words.size()],
                         words[(line * 11 + 1) % words.size()]);
    return text.join(u'\n');
}

// Two columns of numbered lines at 300 dpi, wide apart, under a heading across both.
vips::VImage twoColumns(const QString& left, const QString& right) {
    const vips::VImage columns =
        textImage(left, 300).join(textImage(right, 300), VIPS_DIRECTION_HORIZONTAL);
    const vips::VImage heading = textImage("Bericht über beide Spalten", 300);
    return heading
        .embed(0, 0, columns.width(), heading.height(),
               vips::VImage::option()->set("extend", VIPS_EXTEND_WHITE))
        .join(columns, VIPS_DIRECTION_VERTICAL);
}

// The text lines Tesseract finds on the page, and the bands cut from them for two threads.
std::pair<std::vector<QRect>, std::vector<QRect>> linesAndBands(const vips::VImage& page) {
    size_t length = 0;
    std::unique_ptr<void, decltype(&g_free)> pixels(page.write_to_memory(&length), &g_free);
    tesseract::TessBaseAPI engine;
    engine.Init(nullptr, "eng");
    engine.SetVariable("debug_file", "/dev/null");
    engine.SetPageSegMode(tesseract::PSM_AUTO);
    engine.SetImage(static_cast<const unsigned char*>(pixels.get()), page.width(), page.height(), 1,
                    page.width());
    std::unique_ptr<tesseract::PageIterator> layout(engine.AnalyseLayout());
    if (!layout)
        return {};
    std::vector<QRect> lines;
    do {
        int left, top, right, bottom;
        if (layout->BoundingBox(tesseract::RIL_TEXTLINE, &left, &top, &right, &bottom))
            lines.emplace_back(QPoint(left, top), QPoint(right - 1, bottom - 1));
    } while (layout->Next(tesseract::RIL_TEXTLINE));
    return {lines, TextBands::cut(*layout, QSize(page.width(), page.height()), 2)};
}

} // namespace

TEST(TextRecognizer, UsesTheInstalledPreferredLanguagesThenEnglish) {
    const QStringList installed{"deu", "eng", "fra", "chi_sim", "chi_tra"};
    EXPECT_EQ(TextRecognizer::languages({"de-DE", "en-US"}, installed), "deu+eng");
    EXPECT_EQ(TextRecognizer::languages({"fr-CH", "de"}, installed), "fra+deu+eng");
    EXPECT_EQ(TextRecognizer::languages({"it-IT"}, installed), "eng");
    EXPECT_EQ(TextRecognizer::languages({"zh-CN"}, installed), "chi_sim+chi_tra+eng");
    EXPECT_EQ(TextRecognizer::languages({"C"}, installed), "eng");
    const QStringList here = TextRecognizer::installedLanguages();
    EXPECT_TRUE(here.contains("eng") && here.contains("deu"));
    EXPECT_FALSE(here.contains("osd")) << "orientation data is no language";
}

TEST(VisionTools, ReadsGermanAndEnglishLinesFromTheCommandLine) {
    TestFolder dir;
    const QString expected = "Größere Übungen für Jürgen und Käthe.\n"
                             "The quick brown fox jumps over the lazy dog.";
    const QString image = saveImage(textImage(expected), dir.path("Schild.png"));

    QProcess tramix;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LANGUAGE", "de:en");
    environment.insert("LANG", "de_DE.UTF-8");
    tramix.setProcessEnvironment(environment);
    tramix.start(TRAMIX_BINARY, {"--run", "tool.image.ocr", image});
    ASSERT_TRUE(tramix.waitForFinished(60000));
    EXPECT_EQ(tramix.exitCode(), 0) << tramix.readAllStandardError().toStdString();
    const QString text = readText(dir.path("Schild Text.txt"));
    EXPECT_EQ(text.count(u'\n'), 1) << text.toStdString();
    EXPECT_LE(characterErrorRate(text, expected), 0.03) << text.toStdString();
}

TEST(VisionTools, BlankImagesFailAndTheClipboardGetsTextOnTheMainThread) {
    TestFolder dir;
    const QString blank = saveImage(halves(400, 300, white, white), dir.path("leer.png"));
    EXPECT_EQ(errorOf([&] { VisionTools::recognizeText(blank, {}); }),
              "Im Bild wurde kein Text gefunden.");
    EXPECT_EQ(dir.names(), QStringList{"leer.png"});

    QString copied;
    QThread* copiedOn = nullptr;
    VisionTools::setClipboardHook([&](const QString& text) {
        copied = text;
        copiedOn = QThread::currentThread();
    });
    const QString image = saveImage(textImage("Kassenbon 42"), dir.path("Bon.png"));
    QString written;
    QThread worker;
    QObject::connect(&worker, &QThread::started, [&] {
        written = VisionTools::recognizeText(image, {});
        worker.quit();
    });
    worker.start();
    QElapsedTimer clock;
    clock.start();
    while (copied.isEmpty() && clock.elapsed() < 30000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    worker.wait();
    VisionTools::setClipboardHook({});
    EXPECT_EQ(written, dir.path("Bon Text.txt"));
    EXPECT_EQ(copied, "Kassenbon 42");
    EXPECT_EQ(readText(written), copied);
    EXPECT_EQ(copiedOn, QCoreApplication::instance()->thread());
}

// Recognition reads at most ImageBudget::mostPixelsRecognized pixels: larger pictures are shrunk,
// their resolution alike, unless a scan (of 300 dpi when it says nothing) would fall below 150
// dpi; then they are refused. Both from the size alone, before anything is decoded.
TEST(VisionTools, LargePicturesAreShrunkForRecognitionOrRefused) {
    QElapsedTimer timer;
    timer.start();
    const TextRecognizer::Page page =
        TextRecognizer::prepared(vips::VImage::black(12000, 9000), 600);
    EXPECT_LE(double(page.image.width()) * page.image.height(), ImageBudget::mostPixelsRecognized);
    EXPECT_GT(double(page.image.width()) * page.image.height(),
              0.99 * ImageBudget::mostPixelsRecognized);
    EXPECT_NEAR(page.dpi, 600.0 * page.image.width() / 12000, 1e-9);
    EXPECT_NEAR(double(page.image.width()) / page.image.height(), 12000.0 / 9000, 1e-3);
    EXPECT_EQ(TextRecognizer::prepared(vips::VImage::black(1000, 800), 0).image.width(), 1000);
    EXPECT_EQ(errorOf([&] { VisionTools::recognize(vips::VImage::black(12000, 9000), 150); }),
              "Das Bild ist zu groß für die Texterkennung (108 Megapixel).");
    EXPECT_EQ(errorOf([&] { VisionTools::recognize(vips::VImage::black(22000, 22000)); }),
              "Das Bild ist zu groß für die Texterkennung (484 Megapixel).");
    EXPECT_LT(timer.elapsed(), 500);
}

// Bands cut for threads neither overlap nor leave out a line, and follow the columns, so the page
// read side by side keeps its reading order.
TEST(VisionTools, ALongPageIsReadInBandsInItsReadingOrder) {
    const QString left = column("links", 24), right = column("rechts", 24);
    const vips::VImage page = twoColumns(left, right);
    const auto [lines, bands] = linesAndBands(page);
    ASSERT_EQ(lines.size(), 49u);
    ASSERT_GE(bands.size(), 6u);
    for (size_t i = 0; i < bands.size(); ++i) {
        EXPECT_TRUE(QRect(0, 0, page.width(), page.height()).contains(bands[i]));
        for (size_t j = i + 1; j < bands.size(); ++j)
            EXPECT_FALSE(bands[i].intersects(bands[j])) << i << " and " << j;
    }
    for (const QRect& line : lines) {
        EXPECT_TRUE(
            std::ranges::any_of(bands, [&](const QRect& band) { return band.contains(line); }))
            << "a line at " << line.y() << " is in no band";
    }
    // The heading first, then the left column top to bottom, then the right one.
    EXPECT_LT(bands.front().bottom(), bands[1].top());
    EXPECT_LT(bands[1].right(), bands.back().left());
    EXPECT_GT(bands.back().bottom(), bands[bands.size() - 2].top());

    const QString expected = "Bericht über beide Spalten\n" + left + "\n" + right;
    const QString text = VisionTools::recognize(page, 300);
    EXPECT_EQ(text.count(u'\n'), expected.count(u'\n')) << text.toStdString();
    EXPECT_LE(characterErrorRate(text, expected), 0.01) << text.toStdString();

    // Turned on its side the page is vertical text, which only the whole page can place.
    const auto [turnedLines, turnedBands] = linesAndBands(page.rot90());
    EXPECT_GE(turnedLines.size(), 25u);
    EXPECT_TRUE(turnedBands.empty());
}
