// Writes images as the pages of a new PDF, one page per image, sized by the image's pixels and
// resolution. JPEG data goes in as it is; other images go in losslessly (Flate), with their
// transparency as a soft mask. Pixels stream from the decoder into the file.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>
#include <functional>
#include <vips/vips8>

namespace tramix {

class ImagePDFWriter {
public:
    // Throws ConversionError "PDF konnte nicht erstellt werden." when the file cannot be created.
    explicit ImagePDFWriter(const QString& path);

    // Throws the image's `unreadable` error when it cannot be read.
    void addPage(const QString& imagePath);

    // Writes the page tree and cross-reference table; the file is complete afterwards.
    void finish();

private:
    int reserveObject();
    void beginObject(int number);
    void writeStreamObject(int number, const QByteArray& dictionary, const QByteArray& data);
    void put(const QByteArray& bytes);
    void putFileContents(const QString& path);
    int addPixels(const vips::VImage& image,
                  const std::function<int(const QByteArray&, const QByteArray&)>& addStream);

    QFile file_;
    QList<qint64> offsets_; // by object number - 1
    QList<int> pages_;
};

} // namespace tramix
