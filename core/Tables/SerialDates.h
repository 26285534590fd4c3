// The day counts ("serials") that workbooks store for dates and times, as ISO 8601 text. Whole
// days count from the workbook's first day, the fraction is the time of day.
#pragma once

#include "DateFormats.h"

#include <QString>
#include <optional>

namespace tramix::SerialDates {

// "2024-05-08", "13:45:00", "2024-05-08 13:45:00", or for a duration the hours on end
// ("36:30:00"), rounded to the nearest second. Nothing for a number format, for a serial that is
// negative or reaches the year 10000, and for a date on day 0 or day 60 of the 1900 system:
// Excel shows them as 1900-01-00 and 1900-02-29, days that never were.
std::optional<QString> text(double serial, DateFormats::Kind kind, bool from1904);

} // namespace tramix::SerialDates
