// The steps every image job shares: open an image upright and lazily, change it, and write it
// in a format with exactly the metadata asked for. Pixels stream through libvips wherever the
// work allows, so memory follows the work rather than the image.
#pragma once

#include "ImageFormat.h"
#include "ImageMetadata.h"
#include "NameReservation.h"

#include <QByteArray>
#include <QSize>
#include <QSizeF>
#include <QString>
#include <functional>
#include <optional>
#include <vips/vips8>

namespace tramix::ImagePipeline {

// Images whose header declares more pixels than this are refused before any decoding.
constexpr double maxPixels = 500e6;

struct Loaded {
    vips::VImage image;     // upright; decoded on demand
    QSize originalSize;     // upright, before any shrinking while decoding
    ImageMetadata metadata; // upright
    double dpi = 72;        // the source's horizontal resolution, 72 when it declares none
    QString name;           // the file's name, for messages

    QSizeF sizeInPoints() const;
};

// Opens an image, upright, without decoding it yet. Throws `unreadable` for what libvips cannot
// open and `failed` for decompression bombs.
Loaded load(const QString& path);

// As `load`, but shrunk while decoding so that its longest edge is at most `maxEdge` (JPEG and
// WebP decode at a fraction of the size, which is much faster than scaling afterwards).
Loaded loadFitting(const QString& path, int maxEdge);

// The file's image as stored, not turned; refuses what `load` refuses.
vips::VImage openStored(const QString& path);

// The EXIF orientation (1 to 8) recorded with an image; 1 when there is none.
int orientationOf(const vips::VImage& image);

// The resolution a file declares, or nothing where libvips only filled in its placeholder.
std::optional<double> declaredDPI(const vips::VImage& image);

// Encodes into memory, for results whose size decides whether they are kept.
QByteArray encode(const vips::VImage& image, const ImageFormat& format, double quality,
                  const ImageMetadata& metadata, double dpi);

// Writes the image atomically under the reserved name (or the next free one), carrying exactly
// `metadata`, and returns its path. Errors while decoding throw `unreadable` with the source's
// name.
QString save(const Loaded& loaded, const ImageFormat& format, double quality,
             const ImageMetadata& metadata, NameReservation destination);

} // namespace tramix::ImagePipeline
