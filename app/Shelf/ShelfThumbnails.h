// Small pictures of parked files: the one a file manager already made (the freedesktop thumbnail
// cache) when it is still valid, else one made with libvips for images and PDFs, in the
// background so the interface never waits for a decoder. Other files get no picture; the shelf
// draws their type's icon instead.
#pragma once

#include <QDateTime>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QString>
#include <QThreadPool>
#include <optional>

namespace tramix {

namespace ShelfThumbnails {

// The file's "file:" URI spelled as GLib spells it, which is what the cache names are made of.
QString fileUri(const QString& path);

// `$XDG_CACHE_HOME` (or `~/.cache`).
QString cacheHome();

// The cached thumbnail of `path` under `cache` (`cacheHome()` when empty), from the smallest
// size there is to the largest: only one whose Thumb::URI names the file and whose
// Thumb::MTime is the file's modification time in whole seconds.
std::optional<QImage> fromCache(const QString& path, const QString& cache = {});

// Made with libvips, fitted into `pixels` × `pixels`, in sRGB with alpha; null when libvips
// cannot read the file.
QImage made(const QString& path, int pixels);

// Whether libvips is asked for a picture of `path` (images and PDFs).
bool makesPictureOf(const QString& path);

// The cache first, then libvips for the files it makes pictures of; null when neither has one.
// Slow: call off the interface thread.
QImage find(const QString& path, int pixels, const QString& cache = {});

} // namespace ShelfThumbnails

// Hands out thumbnails on the interface thread and finds missing ones on two worker threads.
class ThumbnailLoader : public QObject {
    Q_OBJECT
public:
    explicit ThumbnailLoader(int pixels, QObject* parent = nullptr);
    ~ThumbnailLoader() override;

    // The thumbnail of `path` as it was at `modified`, when one is found already; otherwise
    // null, and the search starts (once per file and modification time).
    QImage thumbnail(const QString& path, const QDateTime& modified);

    // Forgets the pictures of files other than `paths`.
    void retain(const QStringList& paths);

    // Lets the running searches finish (for tests and for leaving).
    void waitForDone();

Q_SIGNALS:
    void loaded(const QString& path);

private:
    struct Entry {
        QDateTime modified;
        bool searching = false;
        QImage image;
    };
    int pixels_;
    QHash<QString, Entry> entries_;
    QThreadPool pool_;
};

} // namespace tramix
