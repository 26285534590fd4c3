// How much memory one image job may take, and what follows for the sizes of pictures that
// decoders and encoders must hold whole. Every limit is checked from the header, before any
// pixel is decoded, so a picture that cannot be done within the budget is refused at once.
#pragma once

#include "ConversionError.h"
#include "ImageFormat.h"
#include "ImagePipeline.h"

#include <QByteArray>
#include <QString>
#include <cmath>
#include <vips/vips8>

namespace tramix::ImageBudget {

// What one image job may hold at most. Work that streams (JPEG, PNG, TIFF, BMP and PDF pages
// written strip by strip, shrinking while decoding) stays far below it at any size.
constexpr double memory = 1e9; // bytes
// The HEIC and AVIF encoders need the whole picture, several copies of it, and get more.
constexpr double wholePictureMemory = 2e9; // bytes

// Peak bytes per pixel of the encoders that hold the whole picture, measured on 25-MP noise (the
// worst case; flat pictures need far less) and rounded up so that the process's own 70 MB fit
// too: at each limit, noise peaked at 1.78 GB (HEIC), 1.82 GB (AVIF), 0.95 GB (WebP) and
// 0.94 GB (GIF). x265 and aom hold the RGB picture, its YUV copy and their own frames; libwebp
// its ARGB and YUV pictures and every coded token; cgif the RGBA frame and libimagequant's
// copy of it.
constexpr double heicBytesPerPixel = 26;
constexpr double avifBytesPerPixel = 24;
constexpr double webpBytesPerPixel = 20;
constexpr double gifBytesPerPixel = 16;
// Tesseract: its own copy of the page, the grey and binary pages it derives, and its blobs
// (noise of 50 MP peaked at 1.06 GB with 20).
constexpr double recognitionBytesPerPixel = 22;

// Pixels that text recognition reads at most; larger pictures are shrunk to this first.
constexpr double mostPixelsRecognized = memory / recognitionBytesPerPixel;

namespace detail {

// What the decoders that hold the whole picture need per pixel, by their libraries' buffers.
constexpr double progressiveJPEGBytesPerSample = 3; // 2-byte coefficients, then the output
constexpr double gifDecoderBytesPerPixel = 12;      // the frame, the one before it, libvips' copy
constexpr double webpDecoderBytesPerPixel = 8;      // libwebp's RGBA frame and libvips' copy
constexpr double heifDecoderBytesPerPixel = 10;     // YCbCr planes, the RGB picture, the copy
constexpr double jp2kBytesPerSample = 4;            // OpenJPEG's 32-bit samples of a whole tile
constexpr double magickCacheBytesPerPixel = 8;      // ImageMagick's 16-bit RGBA pixel cache

inline double bytesPerPixelEncoding(const ImageFormat& format) {
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

inline double budgetFor(const ImageFormat& format) {
    return format == ImageFormat::heic || format == ImageFormat::avif ? wholePictureMemory : memory;
}

inline QByteArray loaderOf(const vips::VImage& header) {
    const char* loader = nullptr;
    if (vips_image_get_typeof(header.get_image(), "vips-loader") == 0 ||
        vips_image_get_string(header.get_image(), "vips-loader", &loader) != 0)
        return {};
    return loader;
}

inline bool flagged(const vips::VImage& header, const char* field) {
    return header.get_typeof(field) != 0 && header.get_int(field) != 0;
}

} // namespace detail

// The most pixels an encoder of `format` is given: the budget over what it needs per pixel;
// streaming encoders are limited by ImagePipeline::maxPixels alone.
inline double mostPixelsEncoded(const ImageFormat& format) {
    const double perPixel = detail::bytesPerPixelEncoding(format);
    return perPixel > 0 ? detail::budgetFor(format) / perPixel : ImagePipeline::maxPixels;
}

// Throws "Das Bild ist zu groß für HEIC (484 Megapixel)." when `image` has more pixels than
// `mostPixelsEncoded(format)` allows. Cheap: looks at the size only.
inline void requireEncodable(const vips::VImage& image, const ImageFormat& format) {
    const double pixels = double(image.width()) * image.height();
    if (pixels > mostPixelsEncoded(format)) {
        throw ConversionError::failed(QStringLiteral("Das Bild ist zu groß für %1 (%2 Megapixel).")
                                          .arg(format.title)
                                          .arg(std::ceil(pixels / 1e6)));
    }
}

// Bytes per pixel that the decoder of an opened (not yet decoded) image holds for the whole
// picture at once: interlaced PNG, progressive JPEG and the formats whose libraries decode a
// whole frame (GIF, WebP, HEIF, untiled JPEG 2000, those read through ImageMagick). 0 where
// the decoder streams.
inline double decoderBytesPerPixel(const vips::VImage& header) {
    const QByteArray loader = detail::loaderOf(header);
    const double samples = header.bands();
    const double sampleBytes = double(vips_format_sizeof(header.format()));
    // libpng hands out interlaced pictures only whole; libjpeg keeps every coefficient of a
    // progressive JPEG (counted without chroma subsampling) until its last scan.
    if (loader.startsWith("pngload"))
        return detail::flagged(header, "interlaced") ? samples * sampleBytes : 0;
    if (loader.startsWith("jpegload"))
        return detail::flagged(header, "interlaced")
                   ? samples * detail::progressiveJPEGBytesPerSample
                   : 0;
    if (loader.startsWith("gifload"))
        return detail::gifDecoderBytesPerPixel;
    if (loader.startsWith("webpload"))
        return detail::webpDecoderBytesPerPixel;
    if (loader.startsWith("heifload"))
        return detail::heifDecoderBytesPerPixel;
    // Untiled JPEG 2000 pictures are one tile.
    if (loader.startsWith("jp2kload"))
        return samples * (detail::jp2kBytesPerSample + sampleBytes);
    if (loader.startsWith("magickload"))
        return detail::magickCacheBytesPerPixel + samples * sampleBytes;
    return 0;
}

} // namespace tramix::ImageBudget
