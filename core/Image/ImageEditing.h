// The engine of the crop editor: a small upright preview with the image's full size, quarter
// turns, and the cropped and turned result written next to the input. The editor works on the
// preview; `crop` repeats the same turn and cut on the full image, streaming where it can.
#pragma once

#include "OutputContext.h"

#include <QRect>
#include <QRectF>
#include <QSize>
#include <QSizeF>
#include <QString>
#include <vips/vips8>

namespace tramix::ImageEditing {

struct Preview {
    vips::VImage image; // upright, decoded, longest edge at most the size asked for
    QSizeF fullSize;    // the full image's upright pixel size
};

// Throws `unreadable` (the file's name) when the file holds no image it can decode.
Preview preview(const QString& path, int maxPixel);

// Turned clockwise by `quarterTurns` quarter turns; only the two lowest bits count, so -1 is
// three turns. Lazy: pixels are turned when they are read.
vips::VImage rotated(const vips::VImage& image, int quarterTurns);

// The whole pixels that `rect` (normalised to `size`: fractions of its width and height) covers,
// rounded outward and cut to the image; may be empty.
QRect pixelRect(const QRectF& rect, QSize size);

// Writes "{name} zugeschnitten.{ext}" in the input's own format (PNG where that cannot be
// written) at a quality of at least 0.9, with the metadata kept and orientation 1, and returns
// its path. `rect` is normalised to the turned image. Throws "Der Ausschnitt ist leer." when it
// holds no whole pixel of the image.
QString crop(const QString& path, const QRectF& rect, int quarterTurns,
             const OutputContext& context);

} // namespace tramix::ImageEditing
