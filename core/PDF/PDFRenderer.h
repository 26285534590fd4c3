// Pages drawn into opaque bitmaps and read as plain text, through poppler. A poppler document is
// not safe to share between threads, so every thread opens its own.
#pragma once

#include <QSize>
#include <QString>
#include <memory>
#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-page.h>
#include <vips/vips8>

namespace tramix::PDFRenderer {

// Throws `unreadable` for a file that is not a readable PDF (or has no pages, when
// `requirePages`), and "„{name}“ ist passwortgeschützt." for a locked one.
std::unique_ptr<poppler::document> open(const QString& path, bool requirePages = true);

// The bitmap size of the page's crop box at `dpi`, turned with the page.
QSize pixelSize(const poppler::page& page, double dpi);

// The page on white, turned as it is shown, as 8-bit sRGB (or grey) pixels in memory.
vips::VImage render(const poppler::page& page, double dpi, bool grey = false);

// The page's text in reading order.
QString text(const poppler::page& page);

} // namespace tramix::PDFRenderer
