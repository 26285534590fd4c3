// Page-range text such as "1-2, 3-5, 6-" and the short labels of page groups ("S. 3–7").
#pragma once

#include <QList>
#include <QString>

namespace tramix::PageRanges {

// Pages are numbered from 1; a group is an ordered list of page numbers.
using Group = QList<qint64>;

inline const QString germanPrefix = QStringLiteral("S. ");
inline const QString englishPrefix = QStringLiteral("p. ");

// One ascending run per comma-separated piece, in the written order (overlaps and repeats kept).
// Throws ConversionError with the sentence the user needs to correct the text.
QList<Group> parse(const QString& text, qint64 pageCount);

// `text` without spaces and tabs at either end; line breaks stay.
QString trimmedBlanks(const QString& text);

// "S. 4", "S. 3–7" for a run, "S. 1, 3, 8" otherwise; empty for an empty group.
QString label(const Group& group, const QString& prefix = germanPrefix);

// `number` with leading zeros to the width of `count`, so that numbered files sort in order.
QString zeroPadded(qsizetype number, qsizetype count);

} // namespace tramix::PageRanges
