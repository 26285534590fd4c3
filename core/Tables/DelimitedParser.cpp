#include "DelimitedParser.h"

namespace tramix {

DelimitedParser::DelimitedParser(char delimiter, bool latin1, RowHandler onRow)
    : delimiter_(delimiter)
    , latin1_(latin1)
    , onRow_(std::move(onRow)) {}

void DelimitedParser::appendByte(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    if (latin1_ && value >= 0x80) {
        row_.buffer().append(static_cast<char>(0xC0 | (value >> 6)));
        row_.buffer().append(static_cast<char>(0x80 | (value & 0x3F)));
        return;
    }
    row_.buffer().append(byte);
}

void DelimitedParser::endRow() {
    endCell();
    const bool emptyLine = row_.size() == 1 && row_.cell(0).isEmpty();
    if (!emptyLine) {
        ++rows_;
        onRow_(row_);
    }
    row_.clear();
}

void DelimitedParser::outside(char byte) {
    if (byte == '"' && row_.openCellSize() == 0)
        inQuotes_ = true;
    else if (byte == delimiter_)
        endCell();
    else if (byte == '\n' && !afterCR_)
        endRow();
    else
        appendByte(byte);
}

qsizetype DelimitedParser::plainRun(QByteArrayView bytes, qsizetype from) const {
    qsizetype end = from;
    const qsizetype size = bytes.size();
    if (inQuotes_) {
        while (end < size && bytes[end] != '"' &&
               (!latin1_ || static_cast<unsigned char>(bytes[end]) < 0x80))
            ++end;
    } else {
        while (end < size && bytes[end] != delimiter_ && bytes[end] != '\n' && bytes[end] != '"' &&
               (!latin1_ || static_cast<unsigned char>(bytes[end]) < 0x80))
            ++end;
    }
    return end;
}

void DelimitedParser::feed(QByteArrayView bytes) {
    qsizetype i = 0;
    if (offset_ == 0 && !latin1_ && bytes.startsWith("\xEF\xBB\xBF"))
        i = 3;
    offset_ += bytes.size();
    while (i < bytes.size()) {
        // Ordinary bytes go into the cell in one piece.
        if (!quotePending_) {
            const qsizetype end = plainRun(bytes, i);
            if (end > i) {
                row_.buffer().append(bytes.sliced(i, end - i));
                afterCR_ = bytes[end - 1] == '\r';
                i = end;
                continue;
            }
        }
        const char byte = bytes[i++];
        if (quotePending_) {
            quotePending_ = false;
            if (byte == '"') {
                appendByte('"');
            } else {
                inQuotes_ = false;
                outside(byte);
            }
        } else if (inQuotes_) {
            if (byte == '"')
                quotePending_ = true;
            else
                appendByte(byte);
        } else {
            outside(byte);
        }
        afterCR_ = byte == '\r';
    }
}

void DelimitedParser::finish() {
    quotePending_ = false;
    inQuotes_ = false;
    if (row_.openCellSize() > 0 || !row_.isEmpty())
        endRow();
    row_.clear();
}

} // namespace tramix
