// An image format that images are converted into.
#pragma once

#include <QList>
#include <QString>

namespace tramix {

struct ImageFormat {
    QString ext;   // written extension, lower case
    QString title; // upper-case display name
    QString typeIdentifier;
    bool supportsAlpha = false;
    bool lossy = false;

    bool operator==(const ImageFormat&) const = default;

    static const ImageFormat jpg, png, heic, webp, avif, tiff, gif, bmp;

    // All eight, in the order the catalogue shows them.
    static const QList<ImageFormat>& all();

    // Those that this machine can write (libvips savers, libheif encoders); asked once per
    // process. In the image library: the catalogue asks through its ImageEngine.
    static const QList<ImageFormat>& writable();

    // The format to re-encode a file in its own format: the writable format of its
    // extension, else PNG.
    static ImageFormat forFile(const QString& path);
};

} // namespace tramix
