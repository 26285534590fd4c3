// Reads the cells of one worksheet: positions from the `r` attributes (or counted on where they
// are missing), texts by cell type, shared strings looked up, numbers in date and time styles
// written out as ISO 8601 (see SerialDates); each cell is handed over as it comes.
#pragma once

#include "CellStyles.h"

#include <QIODevice>
#include <QStringList>
#include <QXmlStreamAttributes>
#include <functional>

namespace tramix {

struct SheetReader {
    using CellHandler = std::function<void(int row, int column, const QString& text)>;

    SheetReader(const QStringList& shared, const CellStyles& styles, bool date1904,
                CellHandler onCell)
        : shared(shared)
        , styles(styles)
        , date1904(date1904)
        , onCell(std::move(onCell)) {}

    const QStringList& shared;
    const CellStyles& styles;
    bool date1904;
    CellHandler onCell;
    int row = -1;
    int column = -1;
    QString type;
    qint64 style = 0;
    QString value;
    bool collecting = false;
    // Where the sheet first reaches past the limits of a workbook ("Zeile 2000000000",
    // "Spalte AAAAAAAAA"); reading stops there.
    QString outside;

    // False when the XML is broken or has a DTD, which no workbook part may have, or when a row
    // or cell lies outside the limits (see `outside`).
    bool parse(QIODevice& device);

private:
    QString cellText() const;
    bool startRow(QStringView reference);
    bool startCell(const QXmlStreamAttributes& attributes);
};

} // namespace tramix
