// Splits delimited text into rows of cells as it arrives, in pieces of any size. Quotes open only
// at the start of a cell and a doubled quote inside quotes stands for one. A line feed ends a
// row, and so does a CR LF pair, also when a piece ends between the two; a carriage return
// before anything else stays in the cell, as does every line break inside quotes. Empty lines
// are dropped.
#pragma once

#include "TableRow.h"

#include <array>
#include <functional>

namespace tramix {

class DelimitedParser {
public:
    using RowHandler = std::function<void(const TableRow&)>;

    // With `latin1` the bytes are ISO Latin-1 and the cells are converted to UTF-8; otherwise
    // they are UTF-8 already, and a leading byte-order mark is skipped.
    DelimitedParser(char delimiter, bool latin1, RowHandler onRow);

    void feed(QByteArrayView bytes);
    // Hands over the last row when the text does not end with a line break.
    void finish();
    qint64 rows() const { return rows_; }

private:
    using ByteSet = std::array<bool, 256>;

    static constexpr QByteArrayView byteOrderMark = "\xEF\xBB\xBF";

    void parse(QByteArrayView bytes);
    // The end of the bytes from `from` on that need no decision of the state machine.
    qsizetype plainRun(QByteArrayView bytes, qsizetype from) const;
    void step(char byte);
    void outside(char byte);
    void appendByte(char byte);
    void endCell() { row_.closeCell(); }
    void endRow();

    char delimiter_;
    bool latin1_;
    RowHandler onRow_;
    ByteSet stopsOutside_{};
    ByteSet stopsInside_{};
    TableRow row_;
    bool inQuotes_ = false;
    bool quotePending_ = false; // a quote inside quotes, its meaning known from the next byte
    bool crPending_ = false;    // a CR outside quotes: a row end if a line feed follows
    bool markPending_;          // the text may still begin with a byte-order mark
    qsizetype markBytes_ = 0;   // how much of it has come
    qint64 rows_ = 0;
};

} // namespace tramix
