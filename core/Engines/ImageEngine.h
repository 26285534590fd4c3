// What the image library (libvips, libheif, exiv2) does for the catalogue.
#pragma once

#include "Image/ImageFormat.h"
#include "OutputContext.h"

#include <QList>
#include <QStringList>

namespace tramix {

struct ImageEngine {
    static constexpr const char* module = "tramix-image";
    static constexpr const char* entry = "tramixImageEngine";

    QString (*convert)(const QString& input, const ImageFormat& format,
                       const OutputContext& context);
    QString (*compress)(const QString& input, const OutputContext& context);
    QString (*resizeForWeb)(const QString& input, int maxEdge, const OutputContext& context);
    QString (*stripMetadata)(const QString& input, const OutputContext& context);
    QString (*imagesToPDF)(const QStringList& inputs, const OutputContext& context);
    const QList<ImageFormat>& (*writableFormats)();
};

} // namespace tramix
