// How workbook cells are named and how their values are written.
#pragma once

#include <QByteArrayView>
#include <QString>

namespace tramix::XLSXCells {

// "A" is 0, "Z" 25, "AA" 26; the walk stops at the first character that is not "A" to "Z".
int columnIndex(QStringView reference);
QString columnName(int index);

// The cell text of a number: whole numbers below 10^15 without a decimal point, others as "%.15g".
QString format(double number);

// Whether a cell is written as a number: an optional minus, an integer without leading zeros, an
// optional fraction, at most 15 significant digits ("007", "1e5" and "12345678901234567" are
// texts).
bool isNumber(QByteArrayView text);

} // namespace tramix::XLSXCells
