// Split and merge: pages copied between PDFs as they are, with qpdf alone, so that a program
// that needs only these (the benchmark tool) loads no image or text libraries.
#pragma once

#include "OutputContext.h"
#include "PageRanges.h"

#include <QList>
#include <QStringList>
#include <optional>

namespace tramix::PDFPageCopy {

// One input of a merge: a PDF and which of its pages, in order (none: all of them).
struct MergePart {
    QString path;
    std::optional<QList<qint64>> pages;
};

// Throws `unreadable` for what is not a PDF and "„{name}“ ist passwortgeschützt." when locked.
qint64 pageCount(const QString& path);

// One new PDF per non-empty group, pages copied as they are: next to the source for one group,
// in a new "{name} aufgeteilt" folder as "Teil {i} – S. …" for several, all of them or none.
// Returns them in order.
QStringList split(const QString& input, const QList<PageRanges::Group>& groups,
                  const OutputContext& context);

// One PDF named `name` from the listed pages of the parts, in the folder of the first part (or
// the context's). Pages a part does not have are skipped.
QString merge(const QList<MergePart>& parts, const QString& name, const OutputContext& context);

} // namespace tramix::PDFPageCopy
