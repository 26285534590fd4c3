// HEIC and AVIF writing through libheif, which lets us choose encoder speeds and write the
// metadata that libvips' own HEIF saver leaves out.
#pragma once

#include "ImageMetadata.h"

#include <QByteArray>
#include <vips/vips8>

namespace tramix::HeifEncoder {

enum class Codec { hevc, av1 };

bool canEncode(Codec codec);

// Encodes the image (turned into 8-bit sRGB, keeping alpha) at `quality` (0 to 1) with its
// colour profile and the given metadata. Throws ConversionError on failure.
QByteArray encode(const vips::VImage& image, Codec codec, double quality,
                  const ImageMetadata& metadata);

} // namespace tramix::HeifEncoder
