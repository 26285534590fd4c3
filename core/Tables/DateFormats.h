// Which number formats of a workbook show a date, a time of day, both, or a span of hours: the
// built-in ones by their id, the workbook's own by the tokens of their format code.
#pragma once

#include <QStringView>

namespace tramix::DateFormats {

enum class Kind : quint8 {
    Number,   // anything else, percentages and text formats among them
    Date,     // "dd.mm.yyyy"
    Time,     // "hh:mm", the time of day
    DateTime, // "d/m/yy h:mm"
    Duration, // "[h]:mm:ss", hours that run on past a day
};

// A format id without a code of its own in the workbook: 14 to 22 and 45 to 47 are dates and
// times, every other id is a number here.
Kind builtIn(quint32 id);

// A format code such as "yyyy\-mm\-dd" or "[$-407]h:mm;@". Of the formats a code joins with ";",
// the first decides, the one for positive numbers: dates and times are never negative.
Kind ofCode(QStringView code);

} // namespace tramix::DateFormats
