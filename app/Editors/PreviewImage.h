// Editor previews: libvips pictures shown by Qt.
#pragma once

#include <QImage>
#include <vips/vips8>

namespace tramix::PreviewImage {

// An 8-bit sRGB copy with alpha, ready to paint; computes the picture.
QImage toQImage(const vips::VImage& image);

} // namespace tramix::PreviewImage
