// Tables between CSV, TSV, XLSX, JSON and HTML. Sources stream from disk to the result, so a
// table's size is no limit of memory; what a small hostile file may make of itself is limited
// instead (see TableLimits).
#pragma once

#include "OutputContext.h"
#include "TableGrid.h"

#include <QList>

namespace tramix::SpreadsheetConverter {

struct Format {
    QString ext;
    QString title;
};

// The target formats, in the order the catalogue shows them.
const QList<Format>& formats();

// Writes the table of `input` as `ext` next to it (or where the context says) and returns the
// path. Throws ConversionError "Die Tabelle ist leer." for a table without rows, and a sentence
// of its own for a table beyond the limits of a workbook (XLSX in or out), a result that would
// outgrow its source a hundredfold past 100 MB, or a file that cannot be read or written.
QString convert(const QString& input, const QString& ext, const OutputContext& context);

// The table of a file: XLSX by its first sheet, anything else as delimited text, read as UTF-8
// or, failing that, as Latin-1.
TableGrid read(const QString& path);

// `lowerExtension` "tsv" means tab; otherwise the first line decides (see TextScan).
QChar detectDelimiter(const QString& text, const QString& lowerExtension);
TableGrid parse(const QString& text, QChar delimiter);
// Cells holding the delimiter, a quote or a line break are quoted; each row ends with a line feed.
QString serialize(const TableGrid& grid, QChar delimiter);
// An array of objects keyed by the header row; "[]" for an empty grid.
QString json(const TableGrid& grid);
QString html(const TableGrid& grid, const QString& title);

} // namespace tramix::SpreadsheetConverter
