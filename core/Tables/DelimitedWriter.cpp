#include "DelimitedWriter.h"

namespace tramix {

DelimitedWriter::DelimitedWriter(QIODevice& device, const QString& name, char delimiter)
    : out_(device, name)
    , delimiter_(delimiter) {}

void DelimitedWriter::row(const TableRow& row) {
    for (qsizetype i = 0; i < row.size(); ++i) {
        if (i > 0)
            out_.append(delimiter_);
        cell(row.cell(i));
    }
    out_.append('\n');
}

void DelimitedWriter::cell(QByteArrayView text) {
    bool quoted = false;
    for (const char byte : text) {
        if (byte == delimiter_ || byte == '"' || byte == '\n' || byte == '\r') {
            quoted = true;
            break;
        }
    }
    if (!quoted) {
        out_.append(text);
        return;
    }
    out_.append('"');
    qsizetype from = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            out_.append(text.sliced(from, i + 1 - from));
            out_.append('"');
            from = i + 1;
        }
    }
    out_.append(text.sliced(from));
    out_.append('"');
}

void DelimitedWriter::finish() {
    out_.flush();
}

} // namespace tramix
