#include "VisionTools.h"

#include "../ConversionError.h"

namespace tramix::VisionTools {

QString recognizeText(const QString&, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Texterkennung"));
}

QString removeBackground(const QString&, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Hintergrund entfernen"));
}

} // namespace tramix::VisionTools
