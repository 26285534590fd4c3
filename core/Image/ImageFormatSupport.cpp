// What this machine writes asks libvips and libheif, so it is built into the image library; the
// formats themselves are plain values that the catalogue names without it.
#include "FileKind.h"
#include "HeifEncoder.h"
#include "ImageFormat.h"
#include "VipsRuntime.h"

#include <vips/vips.h>

namespace tramix {

const QList<ImageFormat>& ImageFormat::writable() {
    static const QList<ImageFormat> formats = [] {
        QList<ImageFormat> result;
        if (!VipsRuntime::ensureStarted())
            return result;
        for (const ImageFormat& format : all()) {
            const QByteArray probe = "x." + format.ext.toLatin1();
            bool canWrite = vips_foreign_find_save(probe.constData()) != nullptr;
            if (format == heic)
                canWrite = HeifEncoder::canEncode(HeifEncoder::Codec::hevc);
            else if (format == avif)
                canWrite = HeifEncoder::canEncode(HeifEncoder::Codec::av1);
            else if (format == bmp)
                canWrite = true; // written by our own code
            if (canWrite)
                result.append(format);
        }
        vips_error_clear();
        return result;
    }();
    return formats;
}

ImageFormat ImageFormat::forFile(const QString& path) {
    const QString ext = FileKind::canonicalExtension(pathExtension(path));
    for (const ImageFormat& format : writable()) {
        if (format.ext == ext)
            return format;
    }
    return png;
}

} // namespace tramix
