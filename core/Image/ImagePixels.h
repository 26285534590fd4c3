// Pixel steps shared by the pipeline and the encoders: colour spaces, alpha, scaling, and rows
// handed over a strip at a time.
#pragma once

#include <functional>
#include <vips/vips8>

namespace tramix::ImagePixels {

// Through the embedded profile (CMYK without one is taken as generic CMYK) into sRGB.
vips::VImage toSRGB(const vips::VImage& image);

// RGB or grey pixels, turning CMYK and other colour spaces into sRGB.
vips::VImage inRGBOrGrey(const vips::VImage& image);

// Hands the pixels to `consume` row by row, top to bottom, decoding a strip at a time.
void forEachRow(const vips::VImage& image,
                const std::function<void(int y, const unsigned char* row)>& consume);

bool hasAlpha(const vips::VImage& image);
// On white.
vips::VImage flattened(const vips::VImage& image);
vips::VImage scaled(const vips::VImage& image, double factor);

// An image of its own copy of `data`, so that it does not depend on the buffer.
vips::VImage copied(const void* data, int width, int height, int bands, VipsBandFormat format);

} // namespace tramix::ImagePixels
