#include "TextRecognizer.h"

#include "../ConversionError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

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

TextRecognizer::TextRecognizer()
    : engine_(std::make_unique<tesseract::TessBaseAPI>()) {
    singleThreaded();
    const QString folder = dataFolder();
    if (folder.isEmpty())
        recognitionFailed();
    const QByteArray languageList =
        languages(QLocale::system().uiLanguages(), installedLanguages()).toUtf8();
    const QByteArray path = QFile::encodeName(folder);
    if (engine_->Init(path.constData(), languageList.constData(), tesseract::OEM_DEFAULT) != 0)
        recognitionFailed();
    // Its notes about guessed resolutions and empty pages go nowhere a user would look.
    engine_->SetVariable("debug_file", "/dev/null");
    engine_->SetPageSegMode(tesseract::PSM_AUTO);
}

TextRecognizer::~TextRecognizer() {
    engine_->End();
}

QString TextRecognizer::read(const vips::VImage& source, double dpi) {
    vips::VImage image = source;
    std::unique_ptr<void, decltype(&g_free)> pixels(nullptr, &g_free);
    try {
        if (image.has_alpha())
            image = image.flatten(vips::VImage::option()->set("background", 255));
        if (image.bands() != 1 && image.bands() != 3)
            image = image.colourspace(VIPS_INTERPRETATION_sRGB);
        image = image.cast(VIPS_FORMAT_UCHAR);
        size_t length = 0;
        pixels.reset(image.write_to_memory(&length));
    } catch (const vips::VError&) {
        vips_error_clear();
        recognitionFailed();
    }
    const int bands = image.bands();
    engine_->SetImage(static_cast<const unsigned char*>(pixels.get()), image.width(),
                      image.height(), bands, image.width() * bands);
    if (dpi > 0)
        engine_->SetSourceResolution(std::clamp(int(std::lround(dpi)), 70, 2400));
    if (engine_->Recognize(nullptr) != 0)
        recognitionFailed();
    QStringList lines;
    std::unique_ptr<tesseract::ResultIterator> line(engine_->GetIterator());
    if (line) {
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
    }
    engine_->Clear();
    return lines.join(u'\n');
}

} // namespace tramix
