#include "SerialDates.h"

#include <QDate>
#include <cmath>

namespace tramix::SerialDates {

namespace {

constexpr qint64 secondsPerDay = 86'400;
constexpr qint64 secondsPerHour = 3'600;
constexpr qint64 secondsPerMinute = 60;
constexpr qint64 minutesPerHour = 60;
// 10000-01-01 in the 1900 system: no spreadsheet program shows a day from there on.
constexpr double endOfSerials = 2'958'466;
constexpr int lastYear = 9999;
// Excel takes 1900 for a leap year, as Lotus 1-2-3 did: day 60 is 1900-02-29, so days before it
// count from 1899-12-31 and days after it from 1899-12-30.
constexpr qint64 leapDay1900 = 60;

std::optional<QDate> dayOf(qint64 days, bool from1904) {
    if (from1904)
        return QDate(1904, 1, 1).addDays(days);
    if (days == 0 || days == leapDay1900)
        return std::nullopt;
    return QDate(1899, 12, days < leapDay1900 ? 31 : 30).addDays(days);
}

QString clock(qint64 hours, qint64 seconds) {
    return QStringLiteral("%1:%2:%3")
        .arg(hours, 2, 10, QLatin1Char('0'))
        .arg(seconds / secondsPerMinute % minutesPerHour, 2, 10, QLatin1Char('0'))
        .arg(seconds % secondsPerMinute, 2, 10, QLatin1Char('0'));
}

} // namespace

std::optional<QString> text(double serial, DateFormats::Kind kind, bool from1904) {
    using Kind = DateFormats::Kind;
    if (kind == Kind::Number || !std::isfinite(serial) || serial < 0 || serial >= endOfSerials)
        return std::nullopt;
    const qint64 seconds = std::llround(serial * secondsPerDay);
    const qint64 ofDay = seconds % secondsPerDay;
    if (kind == Kind::Duration)
        return clock(seconds / secondsPerHour, seconds);
    if (kind == Kind::Time)
        return clock(ofDay / secondsPerHour, ofDay);
    const std::optional<QDate> day = dayOf(seconds / secondsPerDay, from1904);
    if (!day || day->year() > lastYear)
        return std::nullopt;
    const QString date = day->toString(Qt::ISODate);
    return kind == Kind::Date ? date : date + u' ' + clock(ofDay / secondsPerHour, ofDay);
}

} // namespace tramix::SerialDates
