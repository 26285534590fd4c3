#include "DiskSpace.h"

#include "ConversionError.h"

#include <QFile>
#include <QLocale>
#include <sys/statvfs.h>

namespace tramix::DiskSpace {

namespace {

// Left free so that the desktop does not stall on a full disk because of us.
constexpr qint64 reserveBytes = 16 * 1000 * 1000;

} // namespace

qint64 available(const QString& folder) {
    struct statvfs info;
    if (::statvfs(QFile::encodeName(folder).constData(), &info) != 0)
        return -1;
    return qint64(info.f_bavail) * qint64(info.f_frsize);
}

void require(const QString& folder, qint64 bytes) {
    const qint64 free = available(folder);
    if (free < 0 || bytes + reserveBytes <= free)
        return;
    throw ConversionError::failed(
        QStringLiteral("Auf dem Datenträger ist nicht genug Platz: %1 nötig, %2 frei.")
            .arg(sizeText(bytes), sizeText(free)));
}

QString sizeText(qint64 bytes) {
    static const char* const units[] = {"Bytes", "KB", "MB", "GB", "TB"};
    constexpr double step = 1000;
    double value = double(bytes);
    int unit = 0;
    while (value >= step && unit < 4)
        value /= step, ++unit;
    const QLocale german(QLocale::German, QLocale::Germany);
    const int decimals = unit > 0 && value < 10 ? 1 : 0;
    return german.toString(value, 'f', decimals) + u' ' + QLatin1String(units[unit]);
}

} // namespace tramix::DiskSpace
