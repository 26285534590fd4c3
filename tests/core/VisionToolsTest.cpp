#include "Converters/VisionTools.h"

#include "ConversionError.h"
#include "Converters/ImageConverter.h"
#include "Converters/TextRecognizer.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

QString readText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

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

} // namespace

TEST(TextRecognizer, UsesTheInstalledPreferredLanguagesThenEnglish) {
    const QStringList installed{"deu", "eng", "fra", "chi_sim", "chi_tra"};
    EXPECT_EQ(TextRecognizer::languages({"de-DE", "en-US"}, installed), "deu+eng");
    EXPECT_EQ(TextRecognizer::languages({"fr-CH", "de"}, installed), "fra+deu+eng");
    EXPECT_EQ(TextRecognizer::languages({"it-IT"}, installed), "eng");
    EXPECT_EQ(TextRecognizer::languages({"zh-CN"}, installed), "chi_sim+chi_tra+eng");
    EXPECT_EQ(TextRecognizer::languages({"C"}, installed), "eng");
    EXPECT_TRUE(TextRecognizer::installedLanguages().contains("eng"));
    EXPECT_TRUE(TextRecognizer::installedLanguages().contains("deu"));
    EXPECT_FALSE(TextRecognizer::installedLanguages().contains("osd"));
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
    try {
        VisionTools::recognizeText(blank, OutputContext());
        ADD_FAILURE() << "a blank image has no text";
    } catch (const ConversionError& error) {
        EXPECT_EQ(error.errorDescription(), "Im Bild wurde kein Text gefunden.");
    }
    EXPECT_EQ(QDir(dir.path(".")).entryList(QDir::Files), QStringList{"leer.png"});

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
        written = VisionTools::recognizeText(image, OutputContext());
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

TEST(VisionTools, ScannedPagesArePartedByOneBlankLine) {
    TestFolder dir;
    const QString first = saveImage(textImage("Erste Seite", 200), dir.path("1.png"));
    const QString blank = saveImage(halves(1000, 1400, white, white), dir.path("2.png"));
    const QString third = saveImage(textImage("Dritte Seite", 200), dir.path("3.png"));
    ImageConverter::makePDF({first, blank, third}, dir.path("Scan.pdf"));
    EXPECT_EQ(VisionTools::recognizeTextInPDF(dir.path("Scan.pdf")), "Erste Seite\n\nDritte Seite");
}
