// Writes images as the pages of a new PDF, one page per image, sized by the image's pixels and
// resolution. JPEG data goes in as it is; other images go in losslessly (Flate), with their
// transparency as a soft mask. Pixels stream from the decoder into the file.
#pragma once

#include "FileSink.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <functional>
#include <vips/vips8>

namespace tramix {

class ImagePDFWriter {
public:
    // Writes into the existing (temporary) file `path`; messages about writing name `name`,
    // the result's path. Every write is checked: failures throw the system's reason.
    ImagePDFWriter(const QString& path, const QString& name);

    // Throws the image's `unreadable` error when it cannot be read, its "ist unvollständig."
    // when it ends early, and refuses images too large to decode (ImagePipeline::load).
    void addPage(const QString& imagePath);

    // Writes the page tree and cross-reference table; the file is complete afterwards.
    void finish();

private:
    int reserveObject();
    void beginObject(int number);
    void writeStreamObject(int number, const QByteArray& dictionary, const QByteArray& data);
    void put(const QByteArray& bytes);
    qint64 putFileContents(const QString& path);
    int addPixels(const vips::VImage& image,
                  const std::function<int(const QByteArray&, const QByteArray&)>& addStream);

    FileSink file_;
    QList<qint64> offsets_; // by object number - 1
    QList<int> pages_;
};

} // namespace tramix
