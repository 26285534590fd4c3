#include "TextScan.h"

#include <cstring>

namespace tramix {

void TextScan::feed(QByteArrayView bytes) {
    if (!lineEnded_)
        countFirstLine(bytes);
    if (valid_)
        validate(bytes);
}

void TextScan::countFirstLine(QByteArrayView bytes) {
    for (const char byte : bytes) {
        if (byte == '\n' || byte == '\r') {
            lineEnded_ = true;
            return;
        }
        semicolons_ += byte == ';';
        commas_ += byte == ',';
        tabs_ += byte == '\t';
    }
}

void TextScan::validate(QByteArrayView bytes) {
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const qsizetype size = bytes.size();
    qsizetype i = 0;
    while (i < size) {
        if (pending_ == 0) {
            // Plain ASCII goes eight bytes at a time.
            while (i + 8 <= size) {
                quint64 word;
                std::memcpy(&word, data + i, 8);
                if (word & 0x8080808080808080ULL)
                    break;
                i += 8;
            }
            if (i == size)
                return;
            const unsigned char lead = data[i++];
            if (lead < 0x80)
                continue;
            low_ = 0x80;
            high_ = 0xBF;
            if (lead >= 0xC2 && lead <= 0xDF) {
                pending_ = 1;
            } else if (lead >= 0xE0 && lead <= 0xEF) {
                pending_ = 2;
                if (lead == 0xE0)
                    low_ = 0xA0; // no overlong forms
                if (lead == 0xED)
                    high_ = 0x9F; // no surrogates
            } else if (lead >= 0xF0 && lead <= 0xF4) {
                pending_ = 3;
                if (lead == 0xF0)
                    low_ = 0x90;
                if (lead == 0xF4)
                    high_ = 0x8F; // nothing above U+10FFFF
            } else {
                valid_ = false;
                return;
            }
            continue;
        }
        const unsigned char next = data[i++];
        if (next < low_ || next > high_) {
            valid_ = false;
            return;
        }
        --pending_;
        low_ = 0x80;
        high_ = 0xBF;
    }
}

char TextScan::delimiter(const QString& lowerExtension) const {
    if (lowerExtension == u"tsv")
        return '\t';
    if (tabs_ > semicolons_ && tabs_ > commas_)
        return '\t';
    if (semicolons_ > commas_)
        return ';';
    return ',';
}

} // namespace tramix
