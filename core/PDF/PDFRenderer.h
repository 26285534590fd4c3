// Pages drawn into opaque bitmaps and read as plain text, through poppler. A poppler document is
// not safe to share between threads, so every thread opens its own.
#pragma once

#include "PDFDocument.h"

#include <QSize>
#include <QSizeF>
#include <QString>
#include <QtGlobal>
#include <memory>
#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-page.h>
#include <vips/vips8>

namespace tramix::PDFRenderer {

// What the pages being drawn at once, in every thread of the process, may take together: their
// bitmaps and what decoding their images holds. A page waits until its share is free. With the
// rest of the process this keeps Tramix below 1 GB.
constexpr qint64 renderBudget = 600'000'000;

// Bytes a drawn page takes per pixel at most while it is drawn and written: poppler's bitmap,
// the copy it hands out, and the encoded image (measured 6.5 to 6.8 for pages in colour; the
// rest is room for what poppler keeps for fonts and images).
constexpr qint64 bytesPerPixel = 8;

// The largest bitmap drawn for one page (about 8,700 × 8,700 pixels, A1 at 300 dpi); larger
// pages are drawn at a lower resolution.
constexpr qint64 maxPagePixels = renderBudget / bytesPerPixel;

// Pages that would come out coarser than this even at `maxPagePixels` are refused: at half the
// screen's resolution normal print is no longer readable.
constexpr double legibleDPI = 36;

// Throws `unreadable` for a file that is not a readable PDF (or has no pages, when
// `requirePages`), and "„{name}“ ist passwortgeschützt." for a locked one.
std::unique_ptr<poppler::document> open(const QString& path, bool requirePages = true);

// The size of the page's crop box in points, turned with the page.
QSizeF pointSize(const poppler::page& page);

// The resolution page `number` (from 1) is drawn at when `dpi` is asked for: `dpi`, or as much
// less as keeps its bitmap within `mostPixels`. Throws "Die Seite {number} ist zu groß zum
// Rendern ({w} × {h} pt)." when that is below `legibleDPI` (or `dpi`, when that is lower).
double fittingDPI(const poppler::page& page, int number, double dpi,
                  qint64 mostPixels = maxPagePixels);

// The bitmap size of the page's crop box at `dpi`, turned with the page.
QSize pixelSize(const poppler::page& page, double dpi);

struct Rendered {
    // 8-bit sRGB (or grey) pixels in memory, which stay reserved from `renderBudget` until the
    // image and every image made from it are gone.
    vips::VImage image;
    double dpi = 0; // what it was drawn at; see `fittingDPI`
};

// What drawing a page takes besides the pixels asked for.
struct Needs {
    bool grey = false; // 8-bit grey rather than sRGB
    // Bytes each pixel of the bitmap takes while it is drawn and used: more where the caller
    // holds more per pixel, as text recognition does. The bitmap has at most
    // `renderBudget / bytesPerPixel` pixels, less what the page's images take.
    qint64 bytesPerPixel = PDFRenderer::bytesPerPixel;
    PDFDocument::ImageMemory images; // what decoding the page's images takes
};

// Page `number` (from 1) on white, turned as it is shown, drawn at `fittingDPI` within what
// `needs` leave of the budget. Waits while other pages hold the budget; a thread must drop one
// page before it draws the next. Throws "Die Seite {number} enthält ein Bild, das zu groß zum
// Rendern ist ({w} × {h} Pixel)." when decoding its images alone would take the budget.
Rendered render(const poppler::page& page, int number, double dpi, const Needs& needs = {});

// The page's text in reading order.
QString text(const poppler::page& page);

} // namespace tramix::PDFRenderer
