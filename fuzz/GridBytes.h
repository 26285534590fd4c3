// A grid of cell texts derived from fuzzer bytes: a 0x1F byte ends a cell, a 0x1E byte ends a
// row, everything else is cell text (invalid UTF-8 becomes replacement characters, as a decoded
// file would).
#pragma once

#include "FuzzCheck.h"
#include "Tables/TableGrid.h"

#include <cstdint>

namespace tramix::fuzz {

inline TableGrid grid(const uint8_t* data, size_t size) {
    TableGrid rows;
    QStringList row;
    QByteArray cell;
    auto endCell = [&] {
        row.append(QString::fromUtf8(cell));
        cell.clear();
    };
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0x1F) {
            endCell();
        } else if (data[i] == 0x1E) {
            endCell();
            rows.append(row);
            row.clear();
        } else {
            cell.append(char(data[i]));
        }
    }
    if (!cell.isEmpty() || !row.isEmpty()) {
        endCell();
        rows.append(row);
    }
    return rows;
}

} // namespace tramix::fuzz
