// Opening and writing PDF files with qpdf, with the sentences users see when that fails.
#pragma once

#include "NameReservation.h"

#include <QString>
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

// Writes `document` atomically under the reserved name (or the next free one) and returns its
// path; `configure` may change how. Any failure gives "PDF konnte nicht gespeichert werden." and
// leaves no file.
QString write(QPDF& document, NameReservation destination,
              const std::function<void(QPDFWriter&)>& configure = {});

// As `write`, straight to `path`, for a temporary file that AtomicFile moves into place later.
void writeTo(QPDF& document, const QString& path,
             const std::function<void(QPDFWriter&)>& configure = {});

} // namespace tramix::PDFDocument
