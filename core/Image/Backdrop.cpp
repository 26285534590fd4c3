#include "Backdrop.h"

#include "ConversionError.h"
#include "ImageFormat.h"
#include "ImagePipeline.h"
#include "ImagePixels.h"

#include <QPoint>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace tramix::Backdrop {

using vips::VImage;

namespace {

// The shadow, as the text of the style describes it, relative to the longer side M.
constexpr double shadowAlpha = 0.45;
constexpr double shadowOffset = 0.012;
constexpr double shadowBlur = 0.045;
// A shadow's blur radius spans about two standard deviations of a Gaussian.
constexpr double blurRadiusPerSigma = 2;
// The shadow is blurred on a shrunken copy whose sigma is about this many pixels, then enlarged:
// a soft shadow has no detail to lose, and the full-size blur would cost minutes.
constexpr double smallSigma = 3;
// The shadow's shape is taken from a copy of the image with at most this many pixels per edge.
constexpr int shadowSourceEdge = 1024;
// The side of the block of pixels that one point of a gradient's grid stands for.
constexpr int gradientBlock = 4;
// An opaque image's shape needs no pixels of its own: any small opaque block stands in for it.
constexpr int opaqueShapeEdge = 16;

const std::vector<double> transparent{0, 0, 0, 0};

[[noreturn]] void throwRenderFailure() {
    vips_error_clear();
    throw ConversionError::failed(QStringLiteral("Bild konnte nicht gerendert werden."));
}

struct Geometry {
    double width = 0, height = 0;             // the image
    double canvasWidth = 0, canvasHeight = 0; // before truncation
    double longer() const { return std::max(width, height); }
};

Geometry geometry(double width, double height, const BackdropStyle& style) {
    Geometry g{width, height};
    const double margin = style.padding * g.longer();
    g.canvasWidth = width + 2 * margin;
    g.canvasHeight = height + 2 * margin;
    if (style.aspect && *style.aspect > 0) {
        if (*style.aspect <= g.canvasWidth / g.canvasHeight)
            g.canvasHeight = g.canvasWidth / *style.aspect;
        else
            g.canvasWidth = *style.aspect * g.canvasHeight;
    }
    return g;
}

VImage clampedToUnit(const VImage& value) {
    const VImage low = (value < 0).ifthenelse(0.0, value);
    return (low > 1).ifthenelse(1.0, low);
}

// 8-bit sRGB with alpha; colours under another profile are brought into sRGB first, so that
// they sit right beside the canvas's own colours.
VImage inRGBA(const VImage& source) {
    VImage image = ImagePixels::inRGBOrGrey(source);
    if (image.get_typeof(VIPS_META_ICC_NAME)) {
        image = ImagePixels::toSRGB(image).copy();
        image.remove(VIPS_META_ICC_NAME);
    }
    if (image.interpretation() != VIPS_INTERPRETATION_sRGB || image.format() != VIPS_FORMAT_UCHAR)
        image = image.colourspace(VIPS_INTERPRETATION_sRGB);
    if (image.format() != VIPS_FORMAT_UCHAR)
        image = image.cast(VIPS_FORMAT_UCHAR);
    if (!image.has_alpha())
        image = image.bandjoin_const({255});
    return image;
}

// The coverage (0 to 1, antialiased) of a rounded rectangle of `width` × `height` with corners
// of `radius`, sampled at pixel centres: one minus the signed distance from the edge, clamped.
VImage roundedCoverage(int width, int height, double radius) {
    const VImage xy = VImage::xyz(width, height);
    const double halfWidth = width / 2.0, halfHeight = height / 2.0;
    const VImage qx = (xy[0] + (0.5 - halfWidth)).abs() - (halfWidth - radius);
    const VImage qy = (xy[1] + (0.5 - halfHeight)).abs() - (halfHeight - radius);
    const VImage px = (qx > 0).ifthenelse(qx, 0.0);
    const VImage py = (qy > 0).ifthenelse(qy, 0.0);
    const VImage inner = (qx > qy).ifthenelse(qx, qy);
    const VImage outside = (px * px + py * py).pow(0.5);
    const VImage distance = outside + (inner < 0).ifthenelse(inner, 0.0) - radius;
    return clampedToUnit(0.5 - distance);
}

// A mask of 255 with the four corners rounded; only the corner squares are computed: one
// rounded rectangle two corners wide and high holds all four of them.
VImage cornerMask(int width, int height, double radius) {
    VImage mask = VImage::black(width, height).new_from_image(255.0).cast(VIPS_FORMAT_UCHAR);
    const int corner = int(std::ceil(radius));
    if (corner < 1)
        return mask;
    const VImage tile =
        (roundedCoverage(std::min(2 * corner, width), std::min(2 * corner, height), radius) * 255.0)
            .round(VIPS_OPERATION_ROUND_RINT)
            .cast(VIPS_FORMAT_UCHAR)
            .copy_memory();
    const int tw = tile.width(), th = tile.height();
    const int cw = std::min(corner, (tw + 1) / 2), ch = std::min(corner, (th + 1) / 2);
    mask = mask.insert(tile.extract_area(0, 0, cw, ch), 0, 0);
    mask = mask.insert(tile.extract_area(tw - cw, 0, cw, ch), width - cw, 0);
    mask = mask.insert(tile.extract_area(0, th - ch, cw, ch), 0, height - ch);
    return mask.insert(tile.extract_area(tw - cw, th - ch, cw, ch), width - cw, height - ch);
}

// `opaque`: the image had no alpha of its own, so the mask is the new alpha as it stands.
VImage withMaskedAlpha(const VImage& rgba, const VImage& mask, bool opaque) {
    if (opaque)
        return rgba.extract_band(0, VImage::option()->set("n", 3)).bandjoin(mask);
    const VImage alpha = (rgba[3] * mask / 255.0).round(VIPS_OPERATION_ROUND_RINT);
    return rgba.extract_band(0, VImage::option()->set("n", 3))
        .bandjoin(alpha.cast(VIPS_FORMAT_UCHAR));
}

std::vector<double> channels(const RGBA& colour) {
    return {colour.r * 255, colour.g * 255, colour.b * 255, colour.a * 255};
}

// The gradient runs through the canvas's centre along `angle` (measured with y upwards) and
// just reaches both corners that lie along it; its colours are evenly spaced.
VImage gradient(const GradientPreset& preset, int width, int height) {
    if (preset.colors.size() < 2) {
        const RGBA only = preset.colors.value(0);
        return VImage::black(width, height).new_from_image(channels(only));
    }
    const double theta = preset.angle * std::numbers::pi / 180;
    const double half =
        (width * std::abs(std::cos(theta)) + height * std::abs(std::sin(theta))) / 2;
    // In image coordinates (y downwards) the gradient starts at (cx − cos θ·L, cy − sin θ·L).
    const double dx = 2 * std::cos(theta) * half, dy = 2 * std::sin(theta) * half;
    const double startX = width / 2.0 - dx / 2, startY = height / 2.0 - dy / 2;
    const double lengthSquared = std::max(dx * dx + dy * dy, 1e-9);
    const VImage xy = VImage::xyz(width, height);
    const VImage along = clampedToUnit(
        ((xy[0] + (0.5 - startX)) * dx + (xy[1] + (0.5 - startY)) * dy) / lengthSquared);
    const qsizetype segments = preset.colors.size() - 1;
    VImage colour = along.new_from_image(channels(preset.colors.first())).cast(VIPS_FORMAT_FLOAT);
    for (qsizetype i = 0; i < segments; ++i) {
        const std::vector<double> from = channels(preset.colors[i]);
        const std::vector<double> to = channels(preset.colors[i + 1]);
        std::vector<double> step(4);
        for (size_t c = 0; c < 4; ++c)
            step[c] = to[c] - from[c];
        const VImage part = clampedToUnit(along * double(segments) - double(i));
        colour = colour + part.linear(step, {0, 0, 0, 0});
    }
    return colour.round(VIPS_OPERATION_ROUND_RINT).cast(VIPS_FORMAT_UCHAR);
}

// A gradient has no detail: it is worked out on a grid of one point per block of pixels and each
// point is repeated over its block. Eight bits already hold every level over several pixels, so
// the blocks change by less than one level and cannot be seen; the float arithmetic on every
// pixel of the canvas is saved.
VImage smoothGradient(const GradientPreset& preset, int width, int height) {
    if (width < gradientBlock * 8 || height < gradientBlock * 8)
        return gradient(preset, width, height);
    const int gridWidth = (width + gradientBlock - 1) / gradientBlock;
    const int gridHeight = (height + gradientBlock - 1) / gradientBlock;
    return gradient(preset, gridWidth, gridHeight)
        .copy_memory()
        .zoom(gradientBlock, gradientBlock)
        .extract_area(0, 0, width, height);
}

VImage fillFor(const BackdropStyle::Fill& fill, int width, int height) {
    const VImage canvas = VImage::black(width, height);
    if (const auto* preset = std::get_if<GradientPreset>(&fill))
        return smoothGradient(*preset, width, height);
    if (const auto* colour = std::get_if<RGBA>(&fill))
        return canvas.new_from_image(channels(*colour)).cast(VIPS_FORMAT_UCHAR);
    return canvas.new_from_image(transparent).cast(VIPS_FORMAT_UCHAR);
}

// The shadow on the whole canvas: black whose alpha is the rounded image's, shrunk, blurred,
// enlarged again and moved down.
VImage shadowLayer(const VImage& shapeSource, const Geometry& g, int canvasWidth, int canvasHeight,
                   double cornerRadius, double strength, QPoint imageAt) {
    const double m = g.longer();
    const double sigma = shadowBlur * m * strength / blurRadiusPerSigma;
    const double scale = std::min(1.0, smallSigma / std::max(sigma, 1e-9));
    const int smallWidth = std::max(1, int(std::lround(g.width * scale)));
    const int smallHeight = std::max(1, int(std::lround(g.height * scale)));
    VImage shape = inRGBA(shapeSource)[3].resize(
        double(smallWidth) / shapeSource.width(),
        VImage::option()->set("vscale", double(smallHeight) / shapeSource.height()));
    shape = shape.extract_area(0, 0, std::min(smallWidth, shape.width()),
                               std::min(smallHeight, shape.height()));
    shape = shape.embed(0, 0, smallWidth, smallHeight,
                        VImage::option()->set("extend", VIPS_EXTEND_COPY));
    const VImage mask = cornerMask(smallWidth, smallHeight, cornerRadius * scale);
    const int margin = int(std::ceil(3 * sigma * scale)) + 2;
    VImage alpha = (shape * mask / 255.0)
                       .embed(margin, margin, smallWidth + 2 * margin, smallHeight + 2 * margin);
    if (sigma * scale > 0.1)
        alpha = alpha.gaussblur(sigma * scale);
    // Enlarged in 8 bits: the float copy would cost a pass over every pixel of the canvas.
    alpha = (alpha * (shadowAlpha * strength))
                .round(VIPS_OPERATION_ROUND_RINT)
                .cast(VIPS_FORMAT_UCHAR)
                .copy_memory();
    // Enlarged so that the small image's pixels map onto the image's again.
    const double upX = g.width / smallWidth, upY = g.height / smallHeight;
    const VImage large =
        alpha.resize(upX, VImage::option()->set("vscale", upY)->set("kernel", VIPS_KERNEL_LINEAR));
    const int x = imageAt.x() - int(std::lround(margin * upX));
    const int y = imageAt.y() - int(std::lround(margin * upY)) +
                  int(std::lround(shadowOffset * m * strength));
    const VImage black = large.new_from_image(std::vector<double>{0, 0, 0});
    return black.bandjoin(large).embed(x, y, canvasWidth, canvasHeight);
}

bool isOpaque(const BackdropStyle::Fill& fill) {
    if (std::holds_alternative<GradientPreset>(fill))
        return std::ranges::all_of(std::get<GradientPreset>(fill).colors,
                                   [](const RGBA& colour) { return colour.a >= 1; });
    const auto* colour = std::get_if<RGBA>(&fill);
    return colour && colour->a >= 1;
}

VImage composited(std::vector<VImage> layers) {
    for (VImage& layer : layers)
        layer = layer.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    const std::vector<int> modes(layers.size() - 1, VIPS_BLEND_MODE_OVER);
    return VImage::composite(layers, modes,
                             VImage::option()->set("compositing_space", VIPS_INTERPRETATION_sRGB))
        .cast(VIPS_FORMAT_UCHAR);
}

// Over an opaque canvas every layer is a blend by its own alpha, which libvips does in 8 bits;
// the general composite works in floats and costs several times as much.
VImage blendedOnOpaque(const std::vector<VImage>& layers) {
    VImage canvas = layers.front().extract_band(0, VImage::option()->set("n", 3));
    for (size_t i = 1; i < layers.size(); ++i) {
        const VImage colour = layers[i].extract_band(0, VImage::option()->set("n", 3));
        canvas = layers[i][3].ifthenelse(colour, canvas, VImage::option()->set("blend", true));
    }
    return canvas.bandjoin_const({255}).copy(
        VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// An opaque picture replaces the canvas where it lies; only its rounded corners, `corner` pixels
// square, are blended by their mask. That saves a blend over the whole canvas.
VImage withOpaquePicture(const VImage& canvas, const VImage& picture, QPoint at, int corner) {
    VImage result = canvas.insert(picture, at.x(), at.y());
    const int cw = std::min(corner, picture.width()), ch = std::min(corner, picture.height());
    if (cw < 1 || ch < 1)
        return result;
    for (const QPoint offset :
         {QPoint(0, 0), QPoint(picture.width() - cw, 0), QPoint(0, picture.height() - ch),
          QPoint(picture.width() - cw, picture.height() - ch)}) {
        const VImage piece = picture.extract_area(offset.x(), offset.y(), cw, ch);
        const VImage under = canvas.extract_area(at.x() + offset.x(), at.y() + offset.y(), cw, ch);
        result = result.insert(blendedOnOpaque({under, piece}), at.x() + offset.x(),
                               at.y() + offset.y());
    }
    return result;
}

VImage rendered(const VImage& image, const VImage& shapeSource, const BackdropStyle& style) {
    const Geometry g = geometry(image.width(), image.height(), style);
    const int canvasWidth = std::max(1, int(g.canvasWidth));
    const int canvasHeight = std::max(1, int(g.canvasHeight));
    // Whole pixels, so that the image is copied rather than resampled.
    const QPoint at(int(std::lround((g.canvasWidth - g.width) / 2)),
                    int(std::lround((g.canvasHeight - g.height) / 2)));
    const double radius = style.cornerRadius * std::min(g.width, g.height);

    VImage picture = inRGBA(image);
    if (radius > 0)
        picture = withMaskedAlpha(picture, cornerMask(image.width(), image.height(), radius),
                                  !image.has_alpha());
    std::vector<VImage> layers{fillFor(style.fill, canvasWidth, canvasHeight)};
    if (style.shadow > 0) {
        // An opaque image casts the shape of its rounded rectangle: no pixels of its own needed.
        const VImage shape = image.has_alpha() ? shapeSource
                                               : VImage::black(opaqueShapeEdge, opaqueShapeEdge,
                                                               VImage::option()->set("bands", 3));
        layers.push_back(shadowLayer(shape, g, canvasWidth, canvasHeight,
                                     style.cornerRadius * std::min(g.width, g.height), style.shadow,
                                     at));
    }
    if (!isOpaque(style.fill)) {
        layers.push_back(picture.embed(at.x(), at.y(), canvasWidth, canvasHeight));
        return composited(std::move(layers));
    }
    VImage canvas = blendedOnOpaque(layers);
    if (image.has_alpha())
        return blendedOnOpaque({canvas, picture.embed(at.x(), at.y(), canvasWidth, canvasHeight)});
    return withOpaquePicture(canvas, picture, at, int(std::ceil(radius)));
}

} // namespace

QSize canvasSize(QSize image, const BackdropStyle& style) {
    const Geometry g = geometry(image.width(), image.height(), style);
    return {std::max(1, int(g.canvasWidth)), std::max(1, int(g.canvasHeight))};
}

VImage render(const VImage& image, const BackdropStyle& style) {
    try {
        return rendered(image, image, style);
    } catch (const vips::VError&) {
        throwRenderFailure();
    }
}

QString render(const QString& path, const BackdropStyle& style, const OutputContext& context) {
    ImagePipeline::Loaded loaded = ImagePipeline::load(path);
    // The shadow's shape comes from a small second reading, so the image itself streams once;
    // an opaque image casts the shape of its rounded rectangle and needs no second reading.
    const VImage shapeSource = style.shadow > 0 && loaded.image.has_alpha()
                                   ? ImagePipeline::loadFitting(path, shadowSourceEdge).image
                                   : loaded.image;
    try {
        loaded.image = rendered(loaded.image, shapeSource, style);
    } catch (const vips::VError&) {
        throwRenderFailure();
    }
    return ImagePipeline::save(
        loaded, ImageFormat::png, 1.0, ImageMetadata(),
        context.destination(path, QStringLiteral("png"), QStringLiteral("mit Hintergrund")));
}

} // namespace tramix::Backdrop
