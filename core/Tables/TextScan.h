// One pass over a delimited text before it is parsed: is it valid UTF-8 (else it is read as
// Latin-1), and which delimiter does its first line suggest. Bytes are fed in pieces, so a large
// file never has to be in memory at once.
#pragma once

#include <QByteArrayView>
#include <QString>

namespace tramix {

class TextScan {
public:
    void feed(QByteArrayView bytes);
    bool isUtf8() const { return valid_ && pending_ == 0; }

    // Tab for the extension "tsv"; otherwise whichever of tab, semicolon and comma the first
    // line holds most of, ties going to the comma, then the semicolon. The first line ends at
    // the first line feed or carriage return, so also at a CR LF pair.
    char delimiter(const QString& lowerExtension) const;

private:
    void countFirstLine(QByteArrayView bytes);
    void validate(QByteArrayView bytes);

    bool lineEnded_ = false;
    qint64 semicolons_ = 0;
    qint64 commas_ = 0;
    qint64 tabs_ = 0;

    bool valid_ = true;
    int pending_ = 0; // continuation bytes still expected
    unsigned char low_ = 0x80;
    unsigned char high_ = 0xBF;
};

} // namespace tramix
