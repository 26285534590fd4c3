// Reads the cells of one worksheet: positions from the `r` attributes (or counted on where they
// are missing), texts by cell type, shared strings looked up; each cell is handed over as it
// comes.
#pragma once

#include <QIODevice>
#include <QStringList>
#include <QXmlStreamAttributes>
#include <functional>

namespace tramix {

struct SheetReader {
    using CellHandler = std::function<void(int row, int column, const QString& text)>;

    SheetReader(const QStringList& shared, CellHandler onCell)
        : shared(shared)
        , onCell(std::move(onCell)) {}

    const QStringList& shared;
    CellHandler onCell;
    int row = -1;
    int column = -1;
    QString type;
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
