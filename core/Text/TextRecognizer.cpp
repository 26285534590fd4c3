#include "TextRecognizer.h"

#include "ConversionError.h"
#include "Image/ImageBudget.h"
#include "JobRunner.h"
#include "ParallelPages.h"
#include "TextBands.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <optional>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>
#include <thread>

namespace tramix {

namespace {

[[noreturn]] void recognitionFailed() {
    throw ConversionError::failed(QStringLiteral("Texterkennung ist fehlgeschlagen."));
}

// Tesseract's OpenMP threads would compete with our own page workers on a busy machine; one
// engine per worker thread, each single-threaded, is faster. Tesseract asks for its thread
// counts explicitly, so only allowing no active parallel level keeps it on the calling thread
// (this setting belongs to that thread). libgomp is only there when Tesseract was built with it.
void singleThreaded() {
    using SetLevels = void (*)(int);
    if (auto set = reinterpret_cast<SetLevels>(dlsym(RTLD_DEFAULT, "omp_set_max_active_levels")))
        set(0);
}

QString dataFolder() {
    const QByteArray prefix = qgetenv("TESSDATA_PREFIX");
    QStringList candidates;
    if (!prefix.isEmpty())
        candidates << QFile::decodeName(prefix) << QFile::decodeName(prefix) + "/tessdata";
    candidates << QStringLiteral("/usr/share/tesseract-ocr/5/tessdata")
               << QStringLiteral("/usr/share/tesseract-ocr/4.00/tessdata")
               << QStringLiteral("/usr/share/tessdata");
    for (const QString& folder : candidates) {
        if (QFileInfo::exists(folder + "/eng.traineddata"))
            return folder;
    }
    return {};
}

// Tesseract names most languages by ISO 639-2/T ("deu"), a few by 639-2/B ("chi_sim").
QStringList codesFor(const QString& uiLanguage) {
    const QLocale::Language language = QLocale(uiLanguage).language();
    if (language == QLocale::C || language == QLocale::AnyLanguage)
        return {};
    return {QLocale::languageToCode(language, QLocale::ISO639Part2T),
            QLocale::languageToCode(language, QLocale::ISO639Part2B)};
}

QStringList matching(const QString& code, const QStringList& installed) {
    if (code.isEmpty())
        return {};
    if (installed.contains(code))
        return {code};
    QStringList scripts;
    for (const QString& name : installed) {
        if (name.startsWith(code + u'_'))
            scripts.append(name);
    }
    return scripts;
}

} // namespace

QString TextRecognizer::languages(const QStringList& preferred, const QStringList& installed) {
    QStringList chosen;
    for (const QString& uiLanguage : preferred) {
        for (const QString& code : codesFor(uiLanguage)) {
            const QStringList found = matching(code, installed);
            for (const QString& name : found) {
                if (!chosen.contains(name))
                    chosen.append(name);
            }
            if (!found.isEmpty())
                break;
        }
    }
    if (!chosen.contains(QStringLiteral("eng")))
        chosen.append(QStringLiteral("eng"));
    return chosen.join(u'+');
}

QStringList TextRecognizer::installedLanguages() {
    const QString folder = dataFolder();
    if (folder.isEmpty())
        return {};
    QStringList names;
    for (const QString& file :
         QDir(folder).entryList({QStringLiteral("*.traineddata")}, QDir::Files, QDir::Name)) {
        const QString name = file.chopped(int(strlen(".traineddata")));
        if (name != u"osd" && name != u"equ")
            names.append(name);
    }
    return names;
}

namespace {

// The engine's own copy of the page is made from these.
struct Pixels {
    vips::VImage image; // in memory, holding the data
    const unsigned char* data = nullptr;
    QSize size;
    int bands = 1;
};

// Decodes a prepared page; one that is in memory already is not copied.
Pixels pixelsOf(const vips::VImage& prepared) {
    Pixels pixels;
    try {
        pixels.image = prepared.copy_memory();
        pixels.data = static_cast<const unsigned char*>(pixels.image.data());
        pixels.size = QSize(pixels.image.width(), pixels.image.height());
        pixels.bands = pixels.image.bands();
    } catch (const vips::VError&) {
        vips_error_clear();
        recognitionFailed();
    }
    return pixels;
}

std::unique_ptr<tesseract::TessBaseAPI> startEngine(const QByteArray& languages) {
    singleThreaded();
    const QString folder = dataFolder();
    if (folder.isEmpty())
        recognitionFailed();
    auto engine = std::make_unique<tesseract::TessBaseAPI>();
    const QByteArray path = QFile::encodeName(folder);
    if (engine->Init(path.constData(), languages.constData(), tesseract::OEM_DEFAULT) != 0)
        recognitionFailed();
    // Its notes about guessed resolutions and empty pages go nowhere a user would look. The
    // setting is one for the whole process, so it is made once, not while other engines read it.
    static std::once_flag quiet;
    std::call_once(quiet, [&] { engine->SetVariable("debug_file", "/dev/null"); });
    return engine;
}

void show(tesseract::TessBaseAPI& engine, const Pixels& pixels, double dpi) {
    engine.SetPageSegMode(tesseract::PSM_AUTO);
    engine.SetImage(pixels.data, pixels.size.width(), pixels.size.height(), pixels.bands,
                    pixels.size.width() * pixels.bands);
    if (dpi > 0)
        engine.SetSourceResolution(std::clamp(int(std::lround(dpi)), 70, 2400));
}

QStringList recognizedLines(tesseract::TessBaseAPI& engine) {
    if (engine.Recognize(nullptr) != 0)
        recognitionFailed();
    QStringList lines;
    std::unique_ptr<tesseract::ResultIterator> line(engine.GetIterator());
    if (!line)
        return lines;
    do {
        std::unique_ptr<char[]> text(line->GetUTF8Text(tesseract::RIL_TEXTLINE));
        if (!text)
            continue;
        QString content = QString::fromUtf8(text.get());
        while (content.endsWith(u'\n'))
            content.chop(1);
        if (!content.trimmed().isEmpty())
            lines.append(content);
    } while (line->Next(tesseract::RIL_TEXTLINE));
    return lines;
}

QStringList bandLines(tesseract::TessBaseAPI& engine, const QRect& band) {
    engine.SetPageSegMode(tesseract::PSM_SINGLE_BLOCK);
    engine.SetRectangle(band.x(), band.y(), band.width(), band.height());
    return recognizedLines(engine);
}

// A page with many lines is read band by band on threads that are idle, each with an engine of
// its own: on two cores a full page takes three quarters of the time (finding the layout cannot
// be shared). Without an idle thread the page is read as a whole, using the layout found already.
std::optional<QStringList>
linesSideBySide(tesseract::TessBaseAPI& engine, const Pixels& pixels, double dpi,
                const QByteArray& languages,
                std::future<std::unique_ptr<tesseract::TessBaseAPI>>& spare) {
    const int threads = JobRunner::width();
    std::vector<QRect> bands;
    {
        std::unique_ptr<tesseract::PageIterator> layout(engine.AnalyseLayout());
        if (!layout)
            return std::nullopt;
        bands = TextBands::cut(*layout, pixels.size, threads);
    }
    std::vector<QStringList> texts(bands.size());
    const std::thread::id caller = std::this_thread::get_id();
    std::mutex spareLock;
    const bool parted = ParallelPages::runIfHelped(int(bands.size()), threads, [&] {
        std::shared_ptr<tesseract::TessBaseAPI> own;
        if (std::this_thread::get_id() != caller) {
            std::unique_lock lock(spareLock);
            if (spare.valid()) {
                own = spare.get();
                lock.unlock();
                singleThreaded();
            } else {
                lock.unlock();
                own = startEngine(languages);
            }
            show(*own, pixels, dpi);
        }
        tesseract::TessBaseAPI* reader = own ? own.get() : &engine;
        return [&texts, &bands, reader, own](int index) {
            texts[size_t(index)] = bandLines(*reader, bands[size_t(index)]);
        };
    });
    if (!parted)
        return std::nullopt;
    QStringList lines;
    for (const QStringList& text : texts)
        lines += text;
    return lines;
}

} // namespace

TextRecognizer::TextRecognizer(Engines engines)
    : languages_(languages(QLocale::system().uiLanguages(), installedLanguages()).toUtf8())
    , engine_(startEngine(languages_)) {
    // Started once the first engine has made the process-wide settings.
    if (engines == Engines::spareForBands && JobRunner::width() > 1)
        spare_ = std::async(std::launch::async, [this] { return startEngine(languages_); });
}

TextRecognizer::~TextRecognizer() {
    if (spare_.valid())
        spare_.wait();
    engine_->End();
}

TextRecognizer::Page TextRecognizer::prepared(const vips::VImage& source, double dpi) {
    vips::VImage image = source;
    const double pixels = double(image.width()) * image.height();
    if (pixels > ImageBudget::mostPixelsRecognized) {
        const double scale = std::sqrt(ImageBudget::mostPixelsRecognized / pixels);
        if ((dpi > 0 ? dpi : assumedDPI) * scale < leastDPI) {
            throw ConversionError::failed(
                QStringLiteral("Das Bild ist zu groß für die Texterkennung (%1 Megapixel).")
                    .arg(std::ceil(pixels / 1e6)));
        }
        // Rounded down, so that the shrunk picture stays within the budget.
        const double width = std::max(1.0, std::floor(image.width() * scale));
        const double height = std::max(1.0, std::floor(image.height() * scale));
        image = image.resize(width / image.width(),
                             vips::VImage::option()->set("vscale", height / image.height()));
        dpi = dpi > 0 ? dpi * width / source.width() : 0;
    }
    try {
        if (image.has_alpha())
            image = image.flatten(vips::VImage::option()->set("background", 255));
        if (image.bands() != 1 && image.bands() != 3)
            image = image.colourspace(VIPS_INTERPRETATION_sRGB);
        if (image.format() != VIPS_FORMAT_UCHAR)
            image = image.cast(VIPS_FORMAT_UCHAR);
    } catch (const vips::VError&) {
        vips_error_clear();
        recognitionFailed();
    }
    return {image, dpi};
}

QString TextRecognizer::read(const vips::VImage& source, double sourceDPI) {
    const Page page = prepared(source, sourceDPI);
    const double dpi = page.dpi;
    const Pixels pixels = pixelsOf(page.image);
    show(*engine_, pixels, dpi);
    std::optional<QStringList> lines = linesSideBySide(*engine_, pixels, dpi, languages_, spare_);
    if (!lines)
        lines = recognizedLines(*engine_);
    engine_->Clear();
    return lines->join(u'\n');
}

} // namespace tramix
