// What the PDF library (poppler, qpdf) does for the catalogue and the document converter.
#pragma once

#include "Image/ImageFormat.h"
#include "OutputContext.h"
#include "PDF/StyledText.h"

namespace tramix {

struct PDFEngine {
    static constexpr const char* module = "tramix-pdf";
    static constexpr const char* entry = "tramixPDFEngine";
    // The resolution pages are drawn at as images.
    static constexpr double pageDPI = 300;

    QString (*toImages)(const QString& input, const ImageFormat& format,
                        const OutputContext& context, double dpi);
    QString (*toText)(const QString& input, const OutputContext& context);
    QString (*compress)(const QString& input, const OutputContext& context);
    StyledText (*richText)(const QString& input, const OutputContext& context);
};

} // namespace tramix
