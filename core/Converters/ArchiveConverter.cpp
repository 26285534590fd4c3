#include "ArchiveConverter.h"

#include "../ConversionError.h"

namespace tramix::ArchiveConverter {

QString extension(Kind kind) {
    return kind == Kind::zip ? QStringLiteral("zip") : QStringLiteral("tar.gz");
}

QString title(Kind kind) {
    return kind == Kind::zip ? QStringLiteral("ZIP") : QStringLiteral("TAR.GZ");
}

QString compress(const QStringList&, Kind kind, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Als %1 packen").arg(title(kind)));
}

QString extract(const QString&, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Archive entpacken"));
}

QString repack(const QString&, Kind kind, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("In %1 umpacken").arg(title(kind)));
}

} // namespace tramix::ArchiveConverter
