#include "ImageEditing.h"

#include "ConversionError.h"
#include "ImageFormat.h"
#include "ImagePipeline.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>

namespace tramix::ImageEditing {

using vips::VImage;

namespace {

// Crops keep their detail whatever the settings ask of quick conversions.
constexpr double leastCropQuality = 0.9;

// Products of fractions and sizes land a hair beside whole numbers (0.3 × 100 =
// 30.000000000000004); such a hair must not add a row of pixels.
constexpr double roundingSlack = 1e-9;

[[noreturn]] void throwRenderFailure() {
    vips_error_clear();
    throw ConversionError::failed(QStringLiteral("Bild konnte nicht gerendert werden."));
}

} // namespace

Preview preview(const QString& path, int maxPixel) {
    try {
        const ImagePipeline::Loaded loaded = ImagePipeline::loadFitting(path, maxPixel);
        const VImage image = ImagePipeline::decoded(path, loaded.image);
        return {image, QSizeF(loaded.originalSize)};
    } catch (const ConversionError& error) {
        if (error.kind() == ConversionError::Kind::failed &&
            error.payload().startsWith(u"„")) // too large, or incomplete: the file's own reason
            throw;
        throw ConversionError::unreadable(QFileInfo(path).fileName());
    }
}

VImage rotated(const VImage& image, int quarterTurns) {
    static constexpr VipsAngle angles[] = {VIPS_ANGLE_D0, VIPS_ANGLE_D90, VIPS_ANGLE_D180,
                                           VIPS_ANGLE_D270};
    const int turns = quarterTurns & 3;
    if (turns == 0)
        return image;
    try {
        return image.rot(angles[turns]);
    } catch (const vips::VError&) {
        throwRenderFailure();
    }
}

QRect pixelRect(const QRectF& rect, QSize size) {
    const double left = std::floor(rect.x() * size.width() + roundingSlack);
    const double top = std::floor(rect.y() * size.height() + roundingSlack);
    const double right = std::ceil((rect.x() + rect.width()) * size.width() - roundingSlack);
    const double bottom = std::ceil((rect.y() + rect.height()) * size.height() - roundingSlack);
    const double x0 = std::max(left, 0.0), y0 = std::max(top, 0.0);
    const double x1 = std::min(right, double(size.width()));
    const double y1 = std::min(bottom, double(size.height()));
    if (!(x1 > x0) || !(y1 > y0))
        return {};
    return QRect(int(x0), int(y0), int(x1 - x0), int(y1 - y0));
}

QString crop(const QString& path, const QRectF& rect, int quarterTurns,
             const OutputContext& context) {
    // Turning reads the pixels out of order; a plain cut streams them.
    ImagePipeline::Loaded loaded =
        (quarterTurns & 3) == 0 ? ImagePipeline::load(path) : ImagePipeline::loadInAnyOrder(path);
    const VImage turned = rotated(loaded.image, quarterTurns);
    const QRect pixels = pixelRect(rect, QSize(turned.width(), turned.height()));
    if (pixels.width() < 1 || pixels.height() < 1)
        throw ConversionError::failed(QStringLiteral("Der Ausschnitt ist leer."));
    try {
        loaded.image = turned.extract_area(pixels.x(), pixels.y(), pixels.width(), pixels.height());
    } catch (const vips::VError&) {
        vips_error_clear();
        throw ConversionError::failed(QStringLiteral("Der Ausschnitt ist leer."));
    }
    const ImageFormat format = ImageFormat::forFile(path);
    const ImageMetadata metadata = loaded.metadata.upright(pixels.width(), pixels.height());
    return ImagePipeline::save(
        loaded, format, std::max(context.quality, leastCropQuality), metadata,
        context.destination(path, format.ext, QStringLiteral("zugeschnitten")));
}

} // namespace tramix::ImageEditing
