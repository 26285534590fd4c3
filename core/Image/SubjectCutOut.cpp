#include "SubjectCutOut.h"

#include "ConversionError.h"
#include "ImagePipeline.h"
#include "ImagePixels.h"
#include "Matte.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace tramix::SubjectCutOut {

using vips::VImage;

namespace {

// The matte and the colours are worked out on a copy of at most this edge and enlarged; edges
// stay as fine as the picture's own because the matte is a linear function of its colours.
constexpr int workEdge = 1024;
// Photos up to this size are decoded into memory at once (36 MB for 12 MP).
constexpr double decodedAheadPixels = 40e6;
// The guided filter's window reaches this many of the network's pixels, enough to cover how far
// its answer blurs an edge.
constexpr double filterRadiusInAnswer = 4;
// Radii as shares of the working copy's longest edge: the wide and narrow rounds of the colour
// estimation.
constexpr double wideColourShare = 1.0 / 24;
constexpr double narrowColourShare = 1.0 / 384;
// How strongly the matte may follow the picture's contrast (colours from 0 to 1).
constexpr double regularisation = 1e-3;
// The network's answers between these are uncertain; the picture's edges decide there.
constexpr double uncertainBelow = 0.25;
constexpr double uncertainAbove = 0.75;
// Where the network's answer counts as subject.
constexpr double subjectLikelihood = 0.5;

// The share of the work each step has done when it ends.
constexpr double openedShare = 0.05;
constexpr double inferredShare = 0.75;
constexpr double refinedShare = 0.85;

VImage withoutAlpha(const VImage& image) {
    if (!ImagePixels::hasAlpha(image))
        return image;
    return ImagePixels::flattened(image);
}

// 8-bit sRGB in three bands, on white where the picture was transparent.
VImage rgb8(const VImage& image) {
    VImage rgb = withoutAlpha(ImagePixels::inRGBOrGrey(image));
    if (rgb.bands() != 3 || rgb.format() != VIPS_FORMAT_UCHAR)
        rgb = rgb.colourspace(VIPS_INTERPRETATION_sRGB);
    return rgb.cast(VIPS_FORMAT_UCHAR);
}

// The picture's own alpha as 0 to 255, or nothing.
std::optional<VImage> alpha8(const VImage& image) {
    if (!ImagePixels::hasAlpha(image))
        return std::nullopt;
    const VImage alpha = image.extract_band(image.bands() - 1);
    const bool wide = alpha.format() == VIPS_FORMAT_USHORT;
    return alpha.linear(wide ? 255.0 / 65535 : 1.0, 0).cast(VIPS_FORMAT_UCHAR);
}

cv::Mat toMat(const VImage& image) {
    const int type =
        CV_MAKETYPE(image.format() == VIPS_FORMAT_FLOAT ? CV_32F : CV_8U, image.bands());
    size_t bytes = 0;
    std::unique_ptr<void, decltype(&g_free)> pixels(image.write_to_memory(&bytes), g_free);
    return cv::Mat(image.height(), image.width(), type, pixels.get()).clone();
}

VImage toVips(const cv::Mat& mat) {
    const cv::Mat continuous = mat.isContinuous() ? mat : mat.clone();
    return ImagePixels::copied(continuous.data, continuous.cols, continuous.rows,
                               continuous.channels(), VIPS_FORMAT_FLOAT);
}

cv::Mat merged(const std::vector<cv::Mat>& maps) {
    cv::Mat bands;
    cv::merge(maps, bands);
    return bands;
}

// `image` stretched to exactly `width` × `height` with bilinear interpolation.
VImage stretched(const VImage& image, int width, int height) {
    VImage out = image.resize(double(width) / image.width(),
                              VImage::option()
                                  ->set("vscale", double(height) / image.height())
                                  ->set("kernel", VIPS_KERNEL_LINEAR));
    if (out.width() != width || out.height() != height)
        out = out.embed(0, 0, width, height, VImage::option()->set("extend", VIPS_EXTEND_COPY));
    return out;
}

// At most `workEdge` on its longest side.
VImage fitted(const VImage& image) {
    const double scale = double(workEdge) / std::max(image.width(), image.height());
    return scale < 1 ? image.resize(scale) : image;
}

int radius(const VImage& work, double share) {
    return std::max(1, int(std::lround(std::max(work.width(), work.height()) * share)));
}

int filterRadius(const VImage& work, const VImage& answer) {
    const double scale = double(std::max(work.width(), work.height())) / answer.width();
    return std::max(1, int(std::lround(filterRadiusInAnswer * scale)));
}

} // namespace

VImage cutOut(const QString& path, const VImage& image, const Likelihood& likelihood,
              const Progress& progress) {
    const auto tell = [&](double fraction) {
        if (progress)
            progress(fraction);
    };
    // A photo of ordinary size is decoded into memory while the network loads, so the full-size
    // pass need not wait for the decoder; a larger one streams, and its working copy is decoded
    // at a fraction of its size.
    const bool ahead = double(image.width()) * image.height() <= decodedAheadPixels;
    const VImage source = ahead ? ImagePipeline::decoded(path, image) : image;
    const VImage work =
        ahead
            ? fitted(rgb8(source)).copy_memory()
            : ImagePipeline::decoded(path, rgb8(ImagePipeline::loadFitting(path, workEdge).image));
    tell(openedShare);

    const VImage answer = likelihood(work, [&](double fraction) {
        tell(openedShare + (inferredShare - openedShare) * fraction);
    });
    if ((answer > subjectLikelihood).avg() / 255.0 < leastSubjectShare)
        throw ConversionError::failed(QStringLiteral("Kein Motiv zum Freistellen gefunden."));
    tell(inferredShare);

    cv::Mat workColours;
    toMat(work).convertTo(workColours, CV_32FC3, 1.0 / 255);
    const Matte::Coefficients matte =
        Matte::guidedFilter(workColours,
                            Matte::decisive(toMat(stretched(answer, work.width(), work.height())),
                                            uncertainBelow, uncertainAbove),
                            filterRadius(work, answer), regularisation);
    const Matte::Colours near =
        Matte::blurredColours(workColours * 255, Matte::apply(matte, workColours),
                              radius(work, wideColourShare), radius(work, narrowColourShare));
    tell(refinedShare);

    // At full size, per pixel: the matte from the picture's colours, and each
    // half-transparent pixel's colour with the nearby background's share taken out. The small
    // maps are enlarged together, two and six bands in one pass each.
    const VImage full = rgb8(source);
    const int width = full.width(), height = full.height();
    const VImage coefficients = stretched(toVips(merged({matte.a, matte.b})), width, height);
    const VImage colour01 = full.linear(1.0 / 255, 0);
    VImage alpha = ((coefficients.extract_band(0, VImage::option()->set("n", 3)) * colour01)
                        .bandmean()
                        .linear(3, 0) +
                    coefficients[3])
                       .linear(255, 0)
                       .cast(VIPS_FORMAT_UCHAR);
    if (const std::optional<VImage> own = alpha8(source))
        alpha = (alpha.cast(VIPS_FORMAT_FLOAT) * *own).linear(1.0 / 255, 0).cast(VIPS_FORMAT_UCHAR);
    const VImage a = alpha.linear(1.0 / 255, 0);
    const VImage colours =
        stretched(toVips(merged({near.foreground, near.background})), width, height);
    const VImage foreground = colours.extract_band(0, VImage::option()->set("n", 3));
    const VImage background = colours.extract_band(3, VImage::option()->set("n", 3));
    const VImage colour =
        foreground + a * (full.cast(VIPS_FORMAT_FLOAT) - a * foreground - (1 - a) * background);
    // Fully transparent pixels carry no colour, which also keeps the PNG small.
    return (alpha == 0)
        .ifthenelse(0, colour)
        .cast(VIPS_FORMAT_UCHAR)
        .bandjoin(alpha)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

} // namespace tramix::SubjectCutOut
