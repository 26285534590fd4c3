#include "ImageConverter.h"

#include "../ConversionError.h"

namespace tramix::ImageConverter {

QString convert(const QString&, const ImageFormat& format, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Bildumwandlung in %1").arg(format.title));
}

QString compress(const QString&, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Bilder komprimieren"));
}

QString resizeForWeb(const QString&, int, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Bilder für das Web verkleinern"));
}

QString stripMetadata(const QString&, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Metadaten entfernen"));
}

void makePDF(const QStringList&, const QString&) {
    throw ConversionError::unsupported(QStringLiteral("Bilder zu PDF"));
}

} // namespace tramix::ImageConverter
