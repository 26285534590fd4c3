#include "WritableFormats.h"

#include "Engines/EngineModule.h"
#include "Engines/ImageEngine.h"
#include "Leftovers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <optional>

namespace tramix::WritableFormats {

namespace {

// Installing or removing a library runs ldconfig, which rewrites its index; a new build of the
// image library changes the library itself.
QByteArray installationKey() {
    QByteArray key;
    for (const QString& path :
         {QDir(EngineModule::folder()).filePath(QStringLiteral("libtramix-image.so")),
          QStringLiteral("/etc/ld.so.cache")}) {
        const QFileInfo file(path);
        key += QFile::encodeName(file.absoluteFilePath()) + ' ' +
               QByteArray::number(file.lastModified().toMSecsSinceEpoch()) + ' ' +
               QByteArray::number(file.size()) + ';';
    }
    return key;
}

std::optional<QList<ImageFormat>> cached(const QByteArray& key) {
    QFile file(cachePath());
    if (!file.open(QIODevice::ReadOnly) || file.readLine().trimmed() != key)
        return std::nullopt;
    const QList<QByteArray> extensions = file.readLine().trimmed().split(' ');
    QList<ImageFormat> formats;
    for (const ImageFormat& format : ImageFormat::all()) {
        if (extensions.contains(format.ext.toLatin1()))
            formats.append(format);
    }
    return formats;
}

void keep(const QByteArray& key, const QList<ImageFormat>& formats) {
    QByteArrayList extensions;
    for (const ImageFormat& format : formats)
        extensions.append(format.ext.toLatin1());
    QDir().mkpath(QFileInfo(cachePath()).absolutePath());
    // A cache that cannot be written only costs the next start its time.
    QSaveFile file(cachePath());
    if (file.open(QIODevice::WriteOnly)) {
        file.write(key + '\n' + extensions.join(' ') + '\n');
        file.commit();
    }
}

} // namespace

QString cachePath() {
    return Leftovers::cacheFolder() + QStringLiteral("/image-formats");
}

const QList<ImageFormat>& get() {
    static const QList<ImageFormat> formats = [] {
        const QByteArray key = installationKey();
        if (std::optional<QList<ImageFormat>> known = cached(key))
            return *known;
        QList<ImageFormat> asked = EngineModule::table<ImageEngine>().writableFormats();
        keep(key, asked);
        return asked;
    }();
    return formats;
}

} // namespace tramix::WritableFormats
