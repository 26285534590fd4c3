#include "ShelfThumbnails.h"

#include "FileKind.h"
#include "Image/ImagePixels.h"
#include "Image/VipsRuntime.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QtConcurrent/QtConcurrentRun>
#include <array>
#include <vips/vips8>

namespace tramix {

namespace ShelfThumbnails {

namespace {

// The characters GLib leaves as they are in the path of a "file:" URI: letters, digits and
// !$&'()*+,-./:=@_~ (its table for paths).
bool keptInPath(unsigned char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    return QByteArrayView("!$&'()*+,-./:=@_~").contains(char(c));
}

} // namespace

QString fileUri(const QString& path) {
    static constexpr char hex[] = "0123456789ABCDEF";
    QByteArray uri("file://");
    for (const char byte : QFile::encodeName(path)) {
        const auto c = static_cast<unsigned char>(byte);
        if (keptInPath(c)) {
            uri.append(char(c));
        } else {
            uri.append('%');
            uri.append(hex[c >> 4]);
            uri.append(hex[c & 15]);
        }
    }
    return QString::fromLatin1(uri);
}

QString cacheHome() {
    const QString configured = qEnvironmentVariable("XDG_CACHE_HOME");
    if (QDir::isAbsolutePath(configured))
        return configured;
    return QDir::homePath() + QStringLiteral("/.cache");
}

std::optional<QImage> fromCache(const QString& path, const QString& cache) {
    const QFileInfo info(path);
    if (!info.exists())
        return std::nullopt;
    const QString uri = fileUri(info.absoluteFilePath());
    const QString mtime = QString::number(info.lastModified().toSecsSinceEpoch());
    const QString name =
        QString::fromLatin1(
            QCryptographicHash::hash(uri.toUtf8(), QCryptographicHash::Md5).toHex()) +
        QStringLiteral(".png");
    const QString root = (cache.isEmpty() ? cacheHome() : cache) + QStringLiteral("/thumbnails/");
    // The smallest size is sharp enough for the shelf's rows and the quickest to read.
    static const std::array<const char*, 4> sizes = {"normal", "large", "x-large", "xx-large"};
    for (const char* size : sizes) {
        const QString file = root + QLatin1StringView(size) + u'/' + name;
        if (!QFileInfo::exists(file))
            continue;
        // Read whole: QImageReader mistakes the "::" in these keys for its own separator.
        QImage image;
        if (!image.load(file, "png"))
            continue;
        if (image.text(QStringLiteral("Thumb::URI")) == uri &&
            image.text(QStringLiteral("Thumb::MTime")) == mtime)
            return image;
    }
    return std::nullopt;
}

bool makesPictureOf(const QString& path) {
    const FileKind kind = FileKind::of(path);
    return kind == FileKind::image || kind == FileKind::pdf;
}

QImage made(const QString& path, int pixels) {
    if (!VipsRuntime::ensureStarted())
        return {};
    try {
        using vips::VImage;
        VImage image =
            VImage::thumbnail(QFile::encodeName(path).constData(), pixels,
                              VImage::option()->set("height", pixels)->set("size", VIPS_SIZE_DOWN));
        image = ImagePixels::inRGBOrGrey(image);
        if (image.interpretation() != VIPS_INTERPRETATION_sRGB)
            image = image.colourspace(VIPS_INTERPRETATION_sRGB);
        image = image.cast(VIPS_FORMAT_UCHAR);
        if (image.bands() == 3)
            image = image.bandjoin_const({255});
        if (image.bands() != 4)
            return {};
        size_t bytes = 0;
        void* memory = image.write_to_memory(&bytes);
        QImage result(static_cast<const uchar*>(memory), image.width(), image.height(),
                      image.width() * 4, QImage::Format_RGBA8888);
        QImage copy = result.copy();
        g_free(memory);
        return copy;
    } catch (const vips::VError&) {
        return {};
    }
}

QImage find(const QString& path, int pixels, const QString& cache) {
    if (std::optional<QImage> cached = fromCache(path, cache))
        return *cached;
    if (makesPictureOf(path) && !QFileInfo(path).isDir())
        return made(path, pixels);
    return {};
}

} // namespace ShelfThumbnails

ThumbnailLoader::ThumbnailLoader(int pixels, QObject* parent)
    : QObject(parent)
    , pixels_(pixels) {
    // Pictures of a whole folder of photos must not take every core from the user's work.
    pool_.setMaxThreadCount(2);
}

ThumbnailLoader::~ThumbnailLoader() {
    // The searches call back into this object; what they would still deliver goes with it.
    pool_.waitForDone();
}

void ThumbnailLoader::waitForDone() {
    pool_.waitForDone();
    QCoreApplication::sendPostedEvents(this);
}

void ThumbnailLoader::retain(const QStringList& paths) {
    const QSet<QString> kept(paths.begin(), paths.end());
    entries_.removeIf([&](const auto& entry) { return !kept.contains(entry.key()); });
}

QImage ThumbnailLoader::thumbnail(const QString& path, const QDateTime& modified) {
    auto found = entries_.find(path);
    if (found != entries_.end() && found->modified == modified)
        return found->image;
    entries_[path] = Entry{modified, true, {}};
    const int pixels = pixels_;
    (void)QtConcurrent::run(&pool_, [this, path, modified, pixels] {
        QImage image = ShelfThumbnails::find(path, pixels);
        // Runs on the interface thread, unless this object has gone by then.
        QMetaObject::invokeMethod(
            this,
            [this, path, modified, image = std::move(image)] {
                auto entry = entries_.find(path);
                if (entry == entries_.end() || entry->modified != modified)
                    return; // asked again for a newer version meanwhile
                entry->searching = false;
                entry->image = image;
                if (!image.isNull())
                    Q_EMIT loaded(path);
            },
            Qt::QueuedConnection);
    });
    return {};
}

} // namespace tramix
