// The pictures a PDF page draws, taken out as image files for a document that flows: JPEGs as
// they are stored, 8-bit grey, RGB and palette images as PNG.
#pragma once

#include <QByteArray>
#include <QList>
#include <QRectF>
#include <QString>
#include <QtGlobal>
#include <qpdf/QPDFPageObjectHelper.hh>

namespace tramix::PDFPageImages {

// Images with fewer pixels than this across or down are rules, dots and spacers, not pictures.
constexpr int smallestSide = 16;

// An image whose decoded samples would take more is left out rather than held in memory.
constexpr qint64 largestDecoded = 256'000'000;

struct PageImage {
    QByteArray encoded;
    QString mimeType; // "image/png" or "image/jpeg"
    QRectF placed;    // on the page as shown (turned), in points from its top left corner
};

// The images `page` draws, itself or through its forms, in drawing order. Masks, images under
// `smallestSide` and images that cannot be decoded are left out; a page whose drawing cannot
// be followed gives none.
QList<PageImage> read(QPDFPageObjectHelper page);

} // namespace tramix::PDFPageImages
