#include "DelimitedParser.h"

namespace tramix {

namespace {

constexpr unsigned char firstNonASCII = 0x80;

} // namespace

DelimitedParser::DelimitedParser(char delimiter, bool latin1, RowHandler onRow)
    : delimiter_(delimiter)
    , latin1_(latin1)
    , onRow_(std::move(onRow))
    , markPending_(!latin1) {
    for (const char byte : {delimiter_, '\n', '\r', '"'})
        stopsOutside_[static_cast<unsigned char>(byte)] = true;
    stopsInside_[static_cast<unsigned char>('"')] = true;
    // Latin-1 bytes above ASCII become two bytes each, so they cannot be copied in a run.
    if (latin1_) {
        for (unsigned value = firstNonASCII; value < stopsOutside_.size(); ++value)
            stopsOutside_[value] = stopsInside_[value] = true;
    }
}

void DelimitedParser::appendByte(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    if (latin1_ && value >= firstNonASCII) {
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
    else if (byte == '\n')
        endRow();
    else if (byte == '\r')
        crPending_ = true;
    else
        appendByte(byte);
}

void DelimitedParser::step(char byte) {
    if (crPending_) {
        crPending_ = false;
        if (byte == '\n') {
            endRow();
            return;
        }
        appendByte('\r');
    }
    if (quotePending_) {
        quotePending_ = false;
        if (byte == '"') {
            appendByte('"');
            return;
        }
        inQuotes_ = false;
        outside(byte);
    } else if (inQuotes_) {
        if (byte == '"')
            quotePending_ = true;
        else
            appendByte(byte);
    } else {
        outside(byte);
    }
}

qsizetype DelimitedParser::plainRun(QByteArrayView bytes, qsizetype from) const {
    const ByteSet& stops = inQuotes_ ? stopsInside_ : stopsOutside_;
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const qsizetype size = bytes.size();
    qsizetype end = from;
    while (end < size && !stops[data[end]])
        ++end;
    return end;
}

void DelimitedParser::feed(QByteArrayView bytes) {
    // A byte-order mark may come split over pieces: its first bytes wait until it is whole, or
    // go into the text when it turns out to be none.
    qsizetype i = 0;
    while (markPending_ && i < bytes.size()) {
        if (bytes[i] != byteOrderMark[markBytes_]) {
            markPending_ = false;
            parse(byteOrderMark.first(markBytes_));
            break;
        }
        ++i;
        markPending_ = ++markBytes_ < byteOrderMark.size();
    }
    parse(bytes.sliced(i));
}

void DelimitedParser::parse(QByteArrayView bytes) {
    qsizetype i = 0;
    while (i < bytes.size()) {
        // Ordinary bytes go into the cell in one piece.
        if (!quotePending_ && !crPending_) {
            const qsizetype end = plainRun(bytes, i);
            if (end > i) {
                row_.buffer().append(bytes.sliced(i, end - i));
                i = end;
                continue;
            }
        }
        step(bytes[i++]);
    }
}

void DelimitedParser::finish() {
    if (markPending_) {
        markPending_ = false;
        parse(byteOrderMark.first(markBytes_));
    }
    if (crPending_)
        appendByte('\r');
    crPending_ = false;
    quotePending_ = false;
    inQuotes_ = false;
    if (row_.openCellSize() > 0 || !row_.isEmpty())
        endRow();
    row_.clear();
}

} // namespace tramix
