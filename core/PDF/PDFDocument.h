// Opening and writing PDF files with qpdf, with the sentences users see when that fails.
#pragma once

#include "NameReservation.h"

#include <QSize>
#include <QString>
#include <QtGlobal>
#include <functional>
#include <memory>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <vector>

namespace tramix::PDFDocument {

// Opens `path`. Throws `unreadable` for a file that is not a PDF or cannot be repaired, and
// "„{name}“ ist passwortgeschützt." for a document that needs a password to open.
std::shared_ptr<QPDF> open(const QString& path);

// A new document without pages.
std::shared_ptr<QPDF> empty();

// The pages in order; throws `unreadable` with `name` when the page tree is broken.
std::vector<QPDFPageObjectHelper> pages(QPDF& document, const QString& name);

// Appends a copy of `page` (from any document) at the end of `target`. The source document must
// stay open until `target` is written.
void appendCopy(QPDF& target, QPDFPageObjectHelper page);

// What poppler's decoders hold at once to draw the images of one page: a progressive JPEG keeps
// two bytes for every sample until its last scan, a JPEG 2000 picture four; other images
// stream. An image counts with its soft mask.
struct ImageMemory {
    qint64 bytes = 0; // for the image that needs most
    QSize size;       // its size in pixels
};

// One entry per page of the document at `path`, in order; empty when qpdf cannot read it, and
// nothing for what it cannot follow (an image whose header is unreadable counts as progressive).
std::vector<ImageMemory> imageMemory(const QString& path);

struct WriteSettings {
    // The input's file name. qpdf writes some damage it repaired while reading as it found it,
    // and a result that does not open again is blamed on the input ("„{source}“ konnte nicht
    // gelesen werden."); without one it is "PDF konnte nicht gespeichert werden."
    QString source;
    // Changes to how qpdf writes.
    std::function<void(QPDFWriter&)> configure;
};

// Writes `document` atomically under the reserved name (or the next free one) and returns its
// path, as `writeTo` does. Any failure leaves no file.
QString write(QPDF& document, NameReservation destination, const WriteSettings& settings = {});

// Writes `document` to `path`: a temporary path from AtomicFile, or a new file in a folder that
// AtomicFile::writeFolder stages. Every write is checked (a full disk throws "„{name}“ konnte
// nicht geschrieben werden: Der Datenträger ist voll.", `name` being the result's file name), and
// the result is opened again, without repairs, and must have as many pages as `document`.
void writeTo(QPDF& document, const QString& path, const QString& name,
             const WriteSettings& settings = {});

} // namespace tramix::PDFDocument
