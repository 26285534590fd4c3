// One-sheet Office Open XML workbooks: the first worksheet read into a grid, a grid written as a
// minimal workbook. Workbooks are read in place (see ZipPackage) and packed by the zip tool.
#pragma once

#include "TableGrid.h"
#include "TableRow.h"

#include <QByteArrayView>
#include <QString>
#include <functional>

namespace tramix::XLSX {

// The first worksheet as a grid, gaps filled with empty texts, numbers in date and time formats
// as ISO 8601 text (see SerialDates). Throws ConversionError "Die Excel-Datei ist beschädigt."
// when the package or its XML is broken, or a part holds other bytes than its listing says; a
// sentence of its own when a cell lies outside the limits of a workbook, when the parts would
// unpack to far more than the file (see TableLimits), or when the grid would be almost all empty
// fields.
TableGrid read(const QString& workbook);

// Hands the rows that `read` would return to `onRow` one by one, and returns their number.
// Rows in order (as every spreadsheet program writes them) are never all held in memory; the
// checks above are all made before the first row is handed over.
qint64 stream(const QString& workbook, const std::function<void(const TableRow&)>& onRow);

// Writes the grid as a workbook at `destination`, which must not exist yet.
void write(const TableGrid& grid, const QString& destination);

} // namespace tramix::XLSX
