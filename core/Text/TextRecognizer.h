// One Tesseract engine, loaded with the user's languages. Loading takes a moment, so an engine
// serves many pages; it belongs to the thread that made it and is never shared.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <memory>
#include <vips/vips8>

namespace tesseract {
class TessBaseAPI;
}

namespace tramix {

class TextRecognizer {
public:
    // Throws "Texterkennung ist fehlgeschlagen." when no language data can be loaded.
    TextRecognizer();
    ~TextRecognizer();
    TextRecognizer(const TextRecognizer&) = delete;
    TextRecognizer& operator=(const TextRecognizer&) = delete;

    // The text lines of the image in reading order, joined by line feeds; empty when it shows
    // none. `dpi` helps Tesseract judge the size of the letters; 0 lets it guess.
    QString read(const vips::VImage& image, double dpi);

    // Tesseract's "+"-joined language list: the installed languages that match the preferred
    // ones (in their order), then English.
    static QString languages(const QStringList& preferred, const QStringList& installed);

    // The languages whose data is installed, such as "deu" and "eng".
    static QStringList installedLanguages();

private:
    QByteArray languages_;
    std::unique_ptr<tesseract::TessBaseAPI> engine_;
};

} // namespace tramix
