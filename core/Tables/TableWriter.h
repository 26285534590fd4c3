// Receives a table row by row and writes it in one target format.
#pragma once

#include "TableRow.h"

namespace tramix {

class TableWriter {
public:
    virtual ~TableWriter() = default;
    virtual void row(const TableRow& row) = 0;
    // Completes the output after the last row; throws ConversionError when it cannot.
    virtual void finish() = 0;
};

} // namespace tramix
