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

    // Those that libvips can save on this machine; asked once per process.
    static const QList<ImageFormat>& writable();
};

} // namespace tramix
