#include "ImageFormat.h"

#include "FileKind.h"
#include "HeifEncoder.h"
#include "VipsRuntime.h"

#include <vips/vips.h>

namespace tramix {

const ImageFormat ImageFormat::jpg{"jpg", "JPG", "public.jpeg", false, true};
const ImageFormat ImageFormat::png{"png", "PNG", "public.png", true, false};
const ImageFormat ImageFormat::heic{"heic", "HEIC", "public.heic", true, true};
const ImageFormat ImageFormat::webp{"webp", "WEBP", "org.webmproject.webp", true, true};
const ImageFormat ImageFormat::avif{"avif", "AVIF", "public.avif", true, true};
const ImageFormat ImageFormat::tiff{"tiff", "TIFF", "public.tiff", true, false};
const ImageFormat ImageFormat::gif{"gif", "GIF", "com.compuserve.gif", true, false};
const ImageFormat ImageFormat::bmp{"bmp", "BMP", "com.microsoft.bmp", false, false};

const QList<ImageFormat>& ImageFormat::all() {
    static const QList<ImageFormat> formats = {jpg, png, heic, webp, avif, tiff, gif, bmp};
    return formats;
}

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
