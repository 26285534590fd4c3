// One-sheet Office Open XML workbooks: the first worksheet read into a grid, a grid written as a
// minimal workbook. The ZIP container is handled by the zip and unzip tools.
#pragma once

#include "TableGrid.h"
#include "TableRow.h"

#include <QByteArrayView>
#include <QString>
#include <functional>

namespace tramix::XLSX {

// The first worksheet as a grid, gaps filled with empty texts. Throws ConversionError "Die
// Excel-Datei ist beschädigt." when the package cannot be unpacked or its XML is broken.
TableGrid read(const QString& workbook);

// Hands the rows that `read` would return to `onRow` one by one, and returns their number.
// Rows in order (as every spreadsheet program writes them) are never all held in memory.
qint64 stream(const QString& workbook, const std::function<void(const TableRow&)>& onRow);

// Writes the grid as a workbook at `destination`, which must not exist yet.
void write(const TableGrid& grid, const QString& destination);

} // namespace tramix::XLSX
