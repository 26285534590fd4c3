#include "ImageBudget.h"

#include "ConversionError.h"

#include <QByteArray>
#include <QString>
#include <cmath>

namespace tramix::ImageBudget {

namespace {

// What the decoders that hold the whole picture need per pixel, by their libraries' buffers.
constexpr double progressiveJPEGBytesPerSample = 3; // 2-byte coefficients, then the output
constexpr double gifDecoderBytesPerPixel = 12;      // the frame, the one before it, libvips' copy
constexpr double webpDecoderBytesPerPixel = 8;      // libwebp's RGBA frame and libvips' copy
constexpr double heifDecoderBytesPerPixel = 10;     // YCbCr planes, the RGB picture, the copy
constexpr double jp2kBytesPerSample = 4;            // OpenJPEG's 32-bit samples of a whole tile
constexpr double magickCacheBytesPerPixel = 8;      // ImageMagick's 16-bit RGBA pixel cache

double bytesPerPixelEncoding(const ImageFormat& format) {
    if (format == ImageFormat::heic)
        return heicBytesPerPixel;
    if (format == ImageFormat::avif)
        return avifBytesPerPixel;
    if (format == ImageFormat::webp)
        return webpBytesPerPixel;
    if (format == ImageFormat::gif)
        return gifBytesPerPixel;
    return 0;
}

double budgetFor(const ImageFormat& format) {
    return format == ImageFormat::heic || format == ImageFormat::avif ? wholePictureMemory : memory;
}

QByteArray loaderOf(const vips::VImage& header) {
    const char* loader = nullptr;
    if (vips_image_get_typeof(header.get_image(), "vips-loader") == 0 ||
        vips_image_get_string(header.get_image(), "vips-loader", &loader) != 0)
        return {};
    return loader;
}

bool flagged(const vips::VImage& header, const char* field) {
    return header.get_typeof(field) != 0 && header.get_int(field) != 0;
}

} // namespace

double mostPixelsEncoded(const ImageFormat& format) {
    const double perPixel = bytesPerPixelEncoding(format);
    return perPixel > 0 ? budgetFor(format) / perPixel : maxPixels;
}

void requireEncodable(const vips::VImage& image, const ImageFormat& format) {
    const double pixels = double(image.width()) * image.height();
    if (pixels > mostPixelsEncoded(format)) {
        throw ConversionError::failed(QStringLiteral("Das Bild ist zu groß für %1 (%2 Megapixel).")
                                          .arg(format.title)
                                          .arg(std::ceil(pixels / 1e6)));
    }
}

double decoderBytesPerPixel(const vips::VImage& header) {
    const QByteArray loader = loaderOf(header);
    const double samples = header.bands();
    const double sampleBytes = double(vips_format_sizeof(header.format()));
    // libpng hands out interlaced pictures only whole; libjpeg keeps every coefficient of a
    // progressive JPEG (counted without chroma subsampling) until its last scan.
    if (loader.startsWith("pngload"))
        return flagged(header, "interlaced") ? samples * sampleBytes : 0;
    if (loader.startsWith("jpegload"))
        return flagged(header, "interlaced") ? samples * progressiveJPEGBytesPerSample : 0;
    if (loader.startsWith("gifload"))
        return gifDecoderBytesPerPixel;
    if (loader.startsWith("webpload"))
        return webpDecoderBytesPerPixel;
    if (loader.startsWith("heifload"))
        return heifDecoderBytesPerPixel;
    // Untiled JPEG 2000 pictures are one tile.
    if (loader.startsWith("jp2kload"))
        return samples * (jp2kBytesPerSample + sampleBytes);
    if (loader.startsWith("magickload"))
        return magickCacheBytesPerPixel + samples * sampleBytes;
    return 0;
}

} // namespace tramix::ImageBudget
