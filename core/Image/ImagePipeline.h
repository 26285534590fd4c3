// The steps every image job shares: open an image upright and lazily, change it, and write it
// in a format with exactly the metadata asked for. Pixels stream through libvips wherever the
// work allows, so memory follows the work rather than the image.
#pragma once

#include "ImageBudget.h"
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

// The most pixels a picture may have at all; see ImageBudget.
constexpr double maxPixels = ImageBudget::maxPixels;

struct Loaded {
    vips::VImage image;     // upright; decoded on demand
    QSize originalSize;     // upright, before any shrinking while decoding
    ImageMetadata metadata; // upright
    double dpi = 72;        // the source's horizontal resolution, 72 when it declares none
    QString path;           // the file
    QString name;           // the file's name, for messages

    QSizeF sizeInPoints() const;
};

// Opens an image, upright, without decoding it yet. Throws `unreadable` for what libvips cannot
// open and `failed` for decompression bombs. Decoding stops at the first row that the file
// lacks: a truncated file is never filled up with grey.
Loaded load(const QString& path);

// As `load`, for work that reads the pixels out of order (turning): libvips decodes the file
// once, into memory when it is small and into a temporary file when it is large.
Loaded loadInAnyOrder(const QString& path);

// As `load`, but shrunk while decoding so that its longest edge is at most `maxEdge` (JPEG and
// WebP decode at a fraction of the size, which is much faster than scaling afterwards).
Loaded loadFitting(const QString& path, int maxEdge);

// The file's image as stored, not turned; refuses what `load` refuses.
vips::VImage openStored(const QString& path);

// `image` (made from the file at `path`) decoded into memory; failures as `throwUndecodable`.
vips::VImage decoded(const QString& path, const vips::VImage& image);

// Decodes every pixel of the file (JPEG at an eighth of its size, which still reads all of
// its data) and keeps none; throws as `throwUndecodable` when that fails.
void requireComplete(const QString& path);

// The error for a file whose pixels could not be decoded: "„x.jpg“ ist unvollständig." when
// the file ends before its last row, else `unreadable`. libvips' own text goes to the engine
// log.
[[noreturn]] void throwUndecodable(const QString& path, const QString& vipsMessage);

// The EXIF orientation (1 to 8) recorded with an image; 1 when there is none.
int orientationOf(const vips::VImage& image);

// The resolution a file declares, or nothing where libvips only filled in its placeholder.
std::optional<double> declaredDPI(const vips::VImage& image);

// What a picture shows, for lossless encoders whose best settings differ: drawn pages (text and
// flat colours on white) compress best unfiltered, where row filters only add noise.
enum class Content { photo, drawing };

// Encodes into memory, for results whose size decides whether they are kept. Refuses pictures
// too large for the format's encoder (ImageBudget::requireEncodable) before decoding them.
QByteArray encode(const vips::VImage& image, const ImageFormat& format, double quality,
                  const ImageMetadata& metadata, double dpi, Content content = Content::photo);

// Writes the image atomically under the reserved name (or the next free one), carrying exactly
// `metadata`, and returns its path. Refuses as `encode` does; errors while decoding throw as
// `throwUndecodable`, errors while writing name the result and the system's reason.
QString save(const Loaded& loaded, const ImageFormat& format, double quality,
             const ImageMetadata& metadata, NameReservation destination);

} // namespace tramix::ImagePipeline
