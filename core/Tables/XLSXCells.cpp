#include "XLSXCells.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace tramix::XLSXCells {

int columnIndex(QStringView reference) {
    qint64 value = 0;
    for (const QChar c : reference) {
        if (c < u'A' || c > u'Z')
            break;
        value = value * 26 + (c.unicode() - u'A' + 1);
        if (value > 1'000'000'000)
            break; // far past any real sheet; keeps the sum from overflowing
    }
    return static_cast<int>(std::clamp<qint64>(value - 1, 0, std::numeric_limits<int>::max()));
}

QString columnName(int index) {
    QString letters;
    while (index >= 0) {
        letters.prepend(QChar(u'A' + index % 26));
        index = index / 26 - 1;
    }
    return letters;
}

QString format(double number) {
    if (std::isfinite(number) && number == std::trunc(number) && std::fabs(number) < 1e15)
        return QString::number(static_cast<qint64>(number));
    char text[64];
    const auto result =
        std::to_chars(text, text + sizeof text, number, std::chars_format::general, 15);
    return QString::fromLatin1(text, result.ptr - text);
}

bool isNumber(QByteArrayView text) {
    // A double holds 15 significant decimal digits, and spreadsheet programs show no more: a
    // longer number (an account or card number, an exact fraction) keeps its digits as text.
    constexpr int exactDigits = 15;
    qsizetype i = 0;
    const qsizetype size = text.size();
    if (i < size && text[i] == '-')
        ++i;
    const auto digit = [&](qsizetype at) {
        return at < size && text[at] >= '0' && text[at] <= '9';
    };
    if (!digit(i))
        return false;
    int significant = 0;
    if (text[i++] != '0') {
        significant = 1;
        for (; digit(i); ++i)
            ++significant;
    }
    if (i < size && text[i] == '.') {
        ++i;
        if (!digit(i))
            return false;
        for (; digit(i); ++i) {
            if (significant > 0 || text[i] != '0')
                ++significant;
        }
    }
    return i == size && significant <= exactDigits;
}

} // namespace tramix::XLSXCells
