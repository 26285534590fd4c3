// Collects the cells of one worksheet: positions from the `r` attributes (or counted on where
// they are missing), texts by cell type, shared strings looked up. With a cell handler the cells
// are handed over as they come instead of being kept.
#pragma once

#include "TableGrid.h"

#include <QIODevice>
#include <functional>
#include <map>

namespace tramix {

struct SheetReader {
    using CellHandler = std::function<void(int row, int column, const QString& text)>;

    explicit SheetReader(const QStringList& shared, CellHandler onCell = {})
        : shared(shared)
        , onCell(std::move(onCell)) {}

    const QStringList& shared;
    CellHandler onCell;
    std::map<int, std::map<int, QString>> cells; // row → column → text
    int row = -1;
    int column = -1;
    QString type;
    QString value;
    bool collecting = false;

    // False when the XML is broken.
    bool parse(QIODevice& device);
    // Every row up to the last one that holds a cell, every row as wide as the widest.
    TableGrid grid() const;

private:
    QString cellText() const;
};

} // namespace tramix
