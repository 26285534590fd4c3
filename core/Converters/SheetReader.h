// Collects the cells of one worksheet: positions from the `r` attributes (or counted on where
// they are missing), texts by cell type, shared strings looked up.
#pragma once

#include "TableGrid.h"

#include <QIODevice>
#include <map>

namespace tramix {

struct SheetReader {
    explicit SheetReader(const QStringList& shared)
        : shared(shared) {}

    const QStringList& shared;
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
