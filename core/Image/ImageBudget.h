// How much memory one image job may take, and what follows for the sizes of pictures that
// decoders and encoders must hold whole. Every limit is checked from the header, before any
// pixel is decoded, so a picture that cannot be done within the budget is refused at once.
#pragma once

#include "ImageFormat.h"

#include <vips/vips8>

namespace tramix::ImageBudget {

// Images whose header declares more pixels than this are refused before any decoding, as are
// those whose decoder would need more than the memory budget.
constexpr double maxPixels = 500e6;

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

// The most pixels an encoder of `format` is given: the budget over what it needs per pixel;
// streaming encoders are limited by maxPixels alone.
double mostPixelsEncoded(const ImageFormat& format);

// Throws "Das Bild ist zu groß für HEIC (484 Megapixel)." when `image` has more pixels than
// `mostPixelsEncoded(format)` allows. Cheap: looks at the size only.
void requireEncodable(const vips::VImage& image, const ImageFormat& format);

// Bytes per pixel that the decoder of an opened (not yet decoded) image holds for the whole
// picture at once: interlaced PNG, progressive JPEG and the formats whose libraries decode a
// whole frame (GIF, WebP, HEIF, untiled JPEG 2000, those read through ImageMagick). 0 where
// the decoder streams.
double decoderBytesPerPixel(const vips::VImage& header);

} // namespace tramix::ImageBudget
