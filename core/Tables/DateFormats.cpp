#include "DateFormats.h"

#include <QString>
#include <vector>

namespace tramix::DateFormats {

namespace {

// The units a format shows, in order; upper case for bracketed ones ("[h]"), which count on past
// a day. 'm' stays ambiguous until its neighbours are known; 'a' is "AM/PM" or "A/P".
std::vector<char> unitsOf(QStringView code) {
    std::vector<char> units;
    const qsizetype size = code.size();
    const auto at = [&](qsizetype i) { return i < size ? code[i].toLower().unicode() : u'\0'; };
    // Tenths and hundredths of a second ("ss.00") are no digits of a number.
    const auto skipFractionOfSecond = [&](qsizetype& i) {
        if (at(i + 1) != u'.')
            return;
        for (++i; at(i + 1) == u'0';)
            ++i;
    };
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t c = at(i);
        if (c == u';') {
            break;
        } else if (c == u'"') {
            const qsizetype close = code.indexOf(u'"', i + 1);
            if (close < 0)
                break;
            i = close;
        } else if (c == u'\\' || c == u'_' || c == u'*') {
            ++i; // an escaped character, a space as wide as one, a fill character
        } else if (c == u'[') {
            // Colours, conditions and locales ("[Red]", "[>100]", "[$-407]") show nothing.
            const qsizetype close = code.indexOf(u']', i + 1);
            if (close < 0)
                break;
            const QString inside = code.sliced(i + 1, close - i - 1).toString().toLower();
            const QChar first = inside.isEmpty() ? QChar() : inside.front();
            i = close;
            if (QStringView(u"hms").contains(first) && inside.count(first) == inside.size()) {
                units.push_back(char(first.toUpper().unicode()));
                if (first == u's')
                    skipFractionOfSecond(i);
            }
        } else if (c == u'#' || c == u'?' || c == u'0' || c == u'%' || c == u'@') {
            return {}; // digits, a percentage or text: no date
        } else if (code.sliced(i).startsWith(u"am/pm", Qt::CaseInsensitive)) {
            units.push_back('a');
            i += 4;
        } else if (code.sliced(i).startsWith(u"a/p", Qt::CaseInsensitive)) {
            units.push_back('a');
            i += 2;
        } else if (QStringView(u"ymdhs").contains(QChar(c))) {
            units.push_back(char(c));
            while (at(i + 1) == c)
                ++i;
            if (c == u's')
                skipFractionOfSecond(i);
        }
    }
    return units;
}

} // namespace

Kind builtIn(quint32 id) {
    constexpr quint32 firstDate = 14, lastDate = 17;           // "mm-dd-yy" to "mmm-yy"
    constexpr quint32 lastTime = 21;                           // "h:mm AM/PM" to "h:mm:ss"
    constexpr quint32 dateTime = 22;                           // "m/d/yy h:mm"
    constexpr quint32 minutes = 45, elapsed = 46, tenths = 47; // "mm:ss", "[h]:mm:ss", "mmss.0"
    if (id >= firstDate && id <= lastDate)
        return Kind::Date;
    if ((id > lastDate && id <= lastTime) || id == minutes || id == tenths)
        return Kind::Time;
    if (id == dateTime)
        return Kind::DateTime;
    return id == elapsed ? Kind::Duration : Kind::Number;
}

Kind ofCode(QStringView code) {
    const std::vector<char> units = unitsOf(code);
    bool date = false, time = false, duration = false;
    for (size_t i = 0; i < units.size(); ++i) {
        const char unit = units[i];
        // "m" is minutes right after hours or right before seconds, and months otherwise.
        const bool minute =
            unit == 'm' && ((i > 0 && (units[i - 1] == 'h' || units[i - 1] == 'H')) ||
                            (i + 1 < units.size() && (units[i + 1] == 's' || units[i + 1] == 'S')));
        date = date || unit == 'y' || unit == 'd' || (unit == 'm' && !minute);
        time = time || unit == 'h' || unit == 's' || unit == 'a' || minute;
        duration = duration || unit == 'H' || unit == 'M' || unit == 'S';
    }
    if (duration)
        return date ? Kind::DateTime : Kind::Duration;
    if (date)
        return time ? Kind::DateTime : Kind::Date;
    return time ? Kind::Time : Kind::Number;
}

} // namespace tramix::DateFormats
