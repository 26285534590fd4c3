#include "PDFConverter.h"

#include "../ConversionError.h"

namespace tramix::PDFConverter {

QString toImages(const QString&, const ImageFormat& format, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("PDF-Seiten als %1").arg(format.title));
}

QString toText(const QString&, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Text aus PDF extrahieren"));
}

QString compress(const QString&, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("PDF komprimieren"));
}

} // namespace tramix::PDFConverter
