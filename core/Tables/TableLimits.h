// How far a table may reach: the grid of a workbook, and how much more than its source a
// conversion may unpack, park or write. Small hostile files must not turn into gigabytes.
#pragma once

#include <QLocale>
#include <QString>
#include <algorithm>

namespace tramix::TableLimits {

// A worksheet's size in Excel and LibreOffice: columns "A" to "XFD", rows 1 to 1,048,576. Cells
// beyond are refused when a workbook is read and never written into one.
constexpr int maxColumns = 16'384;
constexpr int maxRows = 1'048'576;

// Whatever a conversion unpacks from a workbook, parks in its scratch folder or writes as a text
// result (CSV, TSV, JSON, HTML) may grow to `expansionFloor` bytes, and beyond that to
// `expansionFactor` times its source file; a workbook result is bounded by the sheet's size.
// Real tables stay far below: XML compresses about tenfold, and JSON, which repeats the header in
// every row, comes to a few times its source.
constexpr qint64 expansionFactor = 100;
constexpr qint64 expansionFloor = 100'000'000;

constexpr qint64 expansionLimit(qint64 sourceBytes) {
    return std::max(expansionFloor, expansionFactor * std::max<qint64>(sourceBytes, 0));
}

// A workbook's sheet is handed on as a full grid, each row as wide as the widest, each row up to
// the last, and every format but XLSX spells out its empty fields. Any grid up to
// `alwaysWrittenGridCells` is written (with 16,384 columns that is 1,024 rows; as CSV at most 16 MB
// of separators). A larger one must not hold more than `gridCellsPerFilledCell` fields for each
// cell that has content, or a few cells far apart would be spelt out as gigabytes of empty fields.
constexpr qint64 alwaysWrittenGridCells = qint64(1) << 24;
constexpr qint64 gridCellsPerFilledCell = expansionFactor;

constexpr bool gridTooSparse(qint64 rows, qint64 columns, qint64 filledCells) {
    const qint64 grid = rows * columns; // at most 2^34: no overflow
    return grid > alwaysWrittenGridCells && grid > gridCellsPerFilledCell * filledCells;
}

// "1.048.576": counts in sentences, grouped as German readers expect.
inline QString count(qint64 number) {
    return QLocale(QLocale::German, QLocale::Germany).toString(number);
}

} // namespace tramix::TableLimits
