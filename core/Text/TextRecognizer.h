// One Tesseract engine, loaded with the user's languages. Loading takes a moment, so an engine
// serves many pages; it belongs to the thread that made it and is never shared.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <future>
#include <memory>
#include <vips/vips8>

namespace tesseract {
class TessBaseAPI;
}

namespace tramix {

class TextRecognizer {
public:
    // A single picture has a second engine load while the first finds the layout, ready for an
    // idle thread to read part of the lines; pages read side by side have a thread each and
    // need only one.
    enum class Engines { one, spareForBands };

    // Throws "Texterkennung ist fehlgeschlagen." when no language data can be loaded.
    explicit TextRecognizer(Engines engines = Engines::one);
    ~TextRecognizer();
    TextRecognizer(const TextRecognizer&) = delete;
    TextRecognizer& operator=(const TextRecognizer&) = delete;

    // The text lines of the image in reading order, joined by line feeds; empty when it shows
    // none. `dpi` helps Tesseract judge the size of the letters; 0 lets it guess. The image is
    // `prepared` first (which does nothing to a prepared one) and decoded into memory.
    QString read(const vips::VImage& image, double dpi);

    // Recognition needs some 22 bytes for each pixel it reads (ImageBudget), so it reads at most
    // ImageBudget::mostPixelsRecognized pixels. Text stays legible down to this resolution, and
    // a picture that declares none is taken for a scan at `assumedDPI`.
    static constexpr double leastDPI = 150;
    static constexpr double assumedDPI = 300;

    struct Page {
        vips::VImage image; // 8-bit grey or RGB without alpha, not decoded yet
        double dpi = 0;     // its resolution after any shrinking; 0 when unknown
    };

    // `image` as recognition reads it: flattened onto white, in 8-bit grey or RGB, and shrunk to
    // at most ImageBudget::mostPixelsRecognized pixels. Looks at the size only and decodes
    // nothing: throws "Das Bild ist zu groß für die Texterkennung (484 Megapixel)." when the
    // shrinking would take the text below `leastDPI`.
    static Page prepared(const vips::VImage& image, double dpi);

    // Tesseract's "+"-joined language list: the installed languages that match the preferred
    // ones (in their order), then English.
    static QString languages(const QStringList& preferred, const QStringList& installed);

    // The languages whose data is installed, such as "deu" and "eng".
    static QStringList installedLanguages();

private:
    QByteArray languages_;
    std::unique_ptr<tesseract::TessBaseAPI> engine_;
    std::future<std::unique_ptr<tesseract::TessBaseAPI>> spare_;
};

} // namespace tramix
