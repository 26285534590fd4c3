// Whole-image jobs: convert, compress, shrink for the web, strip metadata, images to one PDF.
#pragma once

#include "ImageFormat.h"
#include "OutputContext.h"

#include <QStringList>

namespace tramix::ImageConverter {

QString convert(const QString& input, const ImageFormat& format, const OutputContext& context);
QString compress(const QString& input, const OutputContext& context);
QString resizeForWeb(const QString& input, int maxEdge, const OutputContext& context);
QString stripMetadata(const QString& input, const OutputContext& context);

// One page per image, in order, written under the reserved name (or the next free one);
// returns the path written.
QString makePDF(const QStringList& inputs, NameReservation destination);

// One PDF named after the first image, one page per image in the given order.
QString imagesToPDF(const QStringList& inputs, const OutputContext& context);

} // namespace tramix::ImageConverter
