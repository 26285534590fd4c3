#include "HTMLTableWriter.h"

namespace tramix {

namespace {

constexpr QByteArrayView head = "<!doctype html><html><head><meta charset=\"utf-8\"><title>";
constexpr QByteArrayView style =
    "</title>\n<style>body{font-family:-apple-system,Helvetica,sans-serif;margin:2em;"
    "color:#1d1d1f}table{border-collapse:collapse}\nth,td{border:1px solid #e3e3e0;"
    "padding:6px 10px;text-align:left}th{background:#f4f4f2}</style></head>\n<body><table>\n";
constexpr QByteArrayView tail = "\n</table></body></html>";

} // namespace

HTMLTableWriter::HTMLTableWriter(QIODevice& device, const QString& name, const QString& title)
    : out_(device, name) {
    out_.append(head);
    escaped(title.toUtf8());
    out_.append(style);
}

void HTMLTableWriter::escaped(QByteArrayView text) {
    qsizetype from = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char byte = text[i];
        if (byte != '&' && byte != '<' && byte != '>')
            continue;
        out_.append(text.sliced(from, i - from));
        out_.append(byte == '&'   ? QByteArrayView("&amp;")
                    : byte == '<' ? QByteArrayView("&lt;")
                                  : QByteArrayView("&gt;"));
        from = i + 1;
    }
    out_.append(text.sliced(from));
}

void HTMLTableWriter::row(const TableRow& row) {
    const bool header = rows_++ == 0;
    out_.append(header ? QByteArrayView("<thead><tr>") : QByteArrayView("<tr>"));
    for (qsizetype i = 0; i < row.size(); ++i) {
        out_.append(header ? QByteArrayView("<th>") : QByteArrayView("<td>"));
        escaped(row.cell(i));
        out_.append(header ? QByteArrayView("</th>") : QByteArrayView("</td>"));
    }
    out_.append(header ? QByteArrayView("</tr></thead>\n<tbody>\n") : QByteArrayView("</tr>\n"));
}

void HTMLTableWriter::finish() {
    if (rows_ > 0)
        out_.append(QByteArrayView("</tbody>"));
    out_.append(tail);
    out_.flush();
}

} // namespace tramix
