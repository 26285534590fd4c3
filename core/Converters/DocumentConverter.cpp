#include "DocumentConverter.h"

#include "../ConversionError.h"

namespace tramix::DocumentConverter {

QString convert(const QString&, const DocumentFormat& format, const OutputContext&) {
    throw ConversionError::unsupported(
        QStringLiteral("Dokumentumwandlung in %1").arg(format.title));
}

} // namespace tramix::DocumentConverter
