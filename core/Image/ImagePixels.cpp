#include "ImagePixels.h"

#include <algorithm>

namespace tramix::ImagePixels {

using vips::VImage;

namespace {

double maxValue(const VImage& image) {
    const VipsInterpretation kind = image.interpretation();
    return kind == VIPS_INTERPRETATION_RGB16 || kind == VIPS_INTERPRETATION_GREY16 ? 65535 : 255;
}

bool isCMYK(const VImage& image) {
    return image.interpretation() == VIPS_INTERPRETATION_CMYK;
}

} // namespace

VImage toSRGB(const VImage& image) {
    auto options = VImage::option()->set("embedded", true);
    if (isCMYK(image) && !image.get_typeof(VIPS_META_ICC_NAME))
        options->set("input_profile", "cmyk");
    return image.icc_transform("srgb", options);
}

VImage inRGBOrGrey(const VImage& image) {
    if (isCMYK(image))
        return toSRGB(image);
    switch (image.interpretation()) {
    case VIPS_INTERPRETATION_sRGB:
    case VIPS_INTERPRETATION_RGB16:
    case VIPS_INTERPRETATION_B_W:
    case VIPS_INTERPRETATION_GREY16:
        return image;
    default:
        return image.colourspace(VIPS_INTERPRETATION_sRGB);
    }
}

void forEachRow(const VImage& image,
                const std::function<void(int y, const unsigned char* row)>& consume) {
    VipsRegion* region = vips_region_new(image.get_image());
    const int strip = 64;
    for (int top = 0; top < image.height(); top += strip) {
        VipsRect rect{0, top, image.width(), std::min(strip, image.height() - top)};
        if (vips_region_prepare(region, &rect) != 0) {
            g_object_unref(region);
            throw vips::VError();
        }
        for (int y = rect.top; y < rect.top + rect.height; ++y) {
            try {
                consume(y, reinterpret_cast<const unsigned char*>(VIPS_REGION_ADDR(region, 0, y)));
            } catch (...) {
                g_object_unref(region);
                throw;
            }
        }
    }
    g_object_unref(region);
}

bool hasAlpha(const VImage& image) {
    return image.has_alpha();
}

VImage flattened(const VImage& image) {
    const double white = maxValue(image);
    return image.flatten(
        VImage::option()->set("background", std::vector<double>{white})->set("max_alpha", white));
}

VImage scaled(const VImage& image, double factor) {
    if (!hasAlpha(image))
        return image.resize(factor);
    // Colours of transparent pixels must not bleed into their neighbours.
    return image.premultiply().resize(factor).unpremultiply().cast(image.format());
}

VImage copied(const void* data, int width, int height, int bands, VipsBandFormat format) {
    const size_t bytes =
        size_t(width) * size_t(height) * size_t(bands) * vips_format_sizeof(format);
    VipsImage* image = vips_image_new_from_memory_copy(data, bytes, width, height, bands, format);
    if (!image)
        throw vips::VError();
    return VImage(image);
}

} // namespace tramix::ImagePixels
