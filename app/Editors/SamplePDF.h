// Made-up documents for drawing the PDF editor without files: pages with a heading, lines of
// text, a chart and a page number, as a letter or report would have them.
#pragma once

#include <QString>

namespace tramix::SamplePDF {

// Writes a PDF of `pages` A4 pages at `path`, its pages headed `title`; false when it cannot.
bool write(const QString& path, const QString& title, int pages);

} // namespace tramix::SamplePDF
