#include "ImageFormat.h"

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

} // namespace tramix
