// Sets an image on a larger canvas filled with a gradient, a colour or nothing, with rounded,
// antialiased corners and a soft shadow cast once by the rounded image as a whole. Everything
// is computed lazily by libvips, so a large screenshot streams from its file into the result.
#pragma once

#include "BackdropStyle.h"
#include "OutputContext.h"

#include <QSize>
#include <QString>
#include <vips/vips8>

namespace tramix::Backdrop {

// The canvas for an image of `image` pixels: the padding on every side, then grown (never cut)
// to the style's aspect.
QSize canvasSize(QSize image, const BackdropStyle& style);

// The rendered canvas as 8-bit sRGB with alpha, not yet computed. `image` is read twice when it
// has alpha and a shadow is asked for, so it must not be a file opened for one sequential read.
vips::VImage render(const vips::VImage& image, const BackdropStyle& style);

// Writes "{name} mit Hintergrund.png" and returns its path.
QString render(const QString& path, const BackdropStyle& style, const OutputContext& context);

} // namespace tramix::Backdrop
