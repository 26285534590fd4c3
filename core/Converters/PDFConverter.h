// Whole-document PDF jobs: pages to images, text, compression.
#pragma once

#include "../OutputContext.h"
#include "ImageFormat.h"

namespace tramix::PDFConverter {

// Renders every page into a new folder next to the input; returns the folder.
QString toImages(const QString& input, const ImageFormat& format, const OutputContext& context);
QString toText(const QString& input, const OutputContext& context);
QString compress(const QString& input, const OutputContext& context);

} // namespace tramix::PDFConverter
