// PDF jobs: page ranges, split, merge, compress, pages to images, text.
#pragma once

#include "../OutputContext.h"
#include "ImageFormat.h"
#include "PageRanges.h"

#include <QList>
#include <QStringList>
#include <optional>

namespace tramix::PDFConverter {

// One input of a merge: a PDF and which of its pages, in order (none: all of them).
struct MergePart {
    QString path;
    std::optional<QList<qint64>> pages;
};

// Throws `unreadable` for what is not a PDF and "„{name}“ ist passwortgeschützt." when locked.
qint64 pageCount(const QString& path);

inline QList<PageRanges::Group> parseRanges(const QString& text, qint64 pageCount) {
    return PageRanges::parse(text, pageCount);
}

inline QString label(const PageRanges::Group& group,
                     const QString& prefix = PageRanges::germanPrefix) {
    return PageRanges::label(group, prefix);
}

// One new PDF per non-empty group, pages copied as they are: next to the source for one group,
// in a new "{name} aufgeteilt" folder as "Teil {i} – S. …" for several. Returns them in order.
QStringList split(const QString& input, const QList<PageRanges::Group>& groups,
                  const OutputContext& context);

// One PDF named `name` from the listed pages of the parts, in the folder of the first part (or
// the context's). Pages a part does not have are skipped.
QString merge(const QList<MergePart>& parts, const QString& name, const OutputContext& context);

// "{name} komprimiert.pdf": photos shrunk for the screen, streams and objects compressed.
// Fails, leaving nothing, when that is not at least 3 % smaller.
QString compress(const QString& input, const OutputContext& context);

// Every page rendered at `dpi`: one page next to the input, more into a new folder as
// "Seite {i}.{ext}". Returns the file or the folder.
QString toImages(const QString& input, const ImageFormat& format, const OutputContext& context,
                 double dpi = 300);

// The document's text as "{name}.txt"; pages without a text layer are read by text
// recognition.
QString toText(const QString& input, const OutputContext& context);

} // namespace tramix::PDFConverter
