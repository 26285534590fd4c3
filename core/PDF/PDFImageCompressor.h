// Shrinks the photos inside a PDF for reading on screen, and nothing else: fonts, drawings,
// links and forms stay exactly as they are.
#pragma once

#include <QtGlobal>
#include <qpdf/QPDF.hh>

namespace tramix::PDFImageCompressor {

// Pixels per inch that images keep at the largest size a page shows them.
constexpr double screenDPI = 150;

// What the images being re-encoded may take in memory together, as read: JPEGs as stored,
// others decoded (averaged over blocks while decoding, where they are shrunk anyway). An image
// that alone would take more is left as it is.
constexpr qint64 memoryBudget = 128'000'000;

// The highest JPEG quality used: at screen resolution more only adds bytes, not detail a
// reader sees.
constexpr double screenQuality = 0.65;

// Re-encodes every 8-bit grey or RGB image that the pages draw as JPEG at `quality` (0 to 1,
// at most `screenQuality`),
// shrunk to `screenDPI` where it has clearly more; an image is only replaced when that makes it
// smaller. Images it cannot judge safely (masks, palettes, CMYK, unusual decodes, images no page
// draws, images on pages whose drawing decodes to more than 128 MB) are left alone. No image is
// ever decoded whole beyond `memoryBudget`.
void recompress(QPDF& document, double quality, int threads);

} // namespace tramix::PDFImageCompressor
