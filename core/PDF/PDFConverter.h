// PDF jobs: page ranges, split and merge (PDFPageCopy), compress, pages to images, text.
#pragma once

#include "Image/ImageFormat.h"
#include "OutputContext.h"
#include "PDFPageCopy.h"
#include "PDFRichText.h"
#include "PageRanges.h"

#include <QList>
#include <QStringList>

namespace tramix::PDFConverter {

using PDFPageCopy::merge;
using PDFPageCopy::MergePart;
using PDFPageCopy::pageCount;
using PDFPageCopy::split;

inline QList<PageRanges::Group> parseRanges(const QString& text, qint64 pageCount) {
    return PageRanges::parse(text, pageCount);
}

inline QString label(const PageRanges::Group& group,
                     const QString& prefix = PageRanges::germanPrefix) {
    return PageRanges::label(group, prefix);
}

// "{name} komprimiert.pdf": photos shrunk for the screen, streams and objects compressed.
// Fails, leaving nothing, when that is not at least 3 % smaller.
QString compress(const QString& input, const OutputContext& context);

// Every page rendered at `dpi`: one page next to the input, more into a new folder as
// "Seite {i}.{ext}", which appears whole or not at all. Pages too large to draw at `dpi` within
// PDFRenderer::renderBudget are drawn at a lower resolution, which their image records (so it
// prints at the page's size) and the engine log notes. Returns the file or the folder.
QString toImages(const QString& input, const ImageFormat& format, const OutputContext& context,
                 double dpi = 300);

// The document's text as "{name}.txt"; pages without a text layer are read by text
// recognition.
QString toText(const QString& input, const OutputContext& context);

// The styled text of every page, for the document converter; see PDFRichText.
inline StyledText attributedText(const QString& input, const OutputContext& context) {
    return PDFRichText::read(input, context);
}

} // namespace tramix::PDFConverter
