#include "PreviewImage.h"

#include "Image/ImagePixels.h"

namespace tramix::PreviewImage {

using vips::VImage;

QImage toQImage(const VImage& source) {
    VImage image = ImagePixels::inRGBOrGrey(source);
    if (image.interpretation() != VIPS_INTERPRETATION_sRGB || image.format() != VIPS_FORMAT_UCHAR)
        image = image.colourspace(VIPS_INTERPRETATION_sRGB);
    if (image.format() != VIPS_FORMAT_UCHAR)
        image = image.cast(VIPS_FORMAT_UCHAR);
    if (!image.has_alpha())
        image = image.bandjoin_const({255});
    const VImage memory = image.copy_memory();
    const auto* pixels = static_cast<const uchar*>(memory.data());
    return QImage(pixels, memory.width(), memory.height(), memory.width() * 4,
                  QImage::Format_RGBA8888)
        .copy();
}

} // namespace tramix::PreviewImage
