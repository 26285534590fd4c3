#include "JSONTableWriter.h"

#include <QHash>
#include <algorithm>

namespace tramix {

namespace {

// The run of digits starting at `from`, without its leading zeros.
QStringView digitRun(const QString& text, qsizetype& from) {
    const qsizetype begin = from;
    while (from < text.size() && text[from].isDigit())
        ++from;
    qsizetype significant = begin;
    while (significant + 1 < from && text[significant] == u'0')
        ++significant;
    return QStringView(text).sliced(significant, from - significant);
}

int compareNaturally(const QString& a, const QString& b) {
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            const QStringView left = digitRun(a, i);
            const QStringView right = digitRun(b, j);
            if (left.size() != right.size())
                return left.size() < right.size() ? -1 : 1;
            if (const int order = left.compare(right); order != 0)
                return order;
            continue;
        }
        const char32_t left = QChar::toCaseFolded(a[i].unicode());
        const char32_t right = QChar::toCaseFolded(b[j].unicode());
        if (left != right)
            return left < right ? -1 : 1;
        ++i;
        ++j;
    }
    return (i < a.size()) - (j < b.size());
}

} // namespace

bool JSONTableWriter::keyLess(const QString& a, const QString& b) {
    const int order = compareNaturally(a, b);
    return order != 0 ? order < 0 : a < b;
}

JSONTableWriter::JSONTableWriter(QIODevice& device, const QString& name)
    : out_(device, name) {}

void JSONTableWriter::header(const TableRow& row) {
    // A repeated key keeps the later column's value.
    QHash<QString, qsizetype> columns;
    for (qsizetype i = 0; i < row.size(); ++i) {
        const QString cell = QString::fromUtf8(row.cell(i));
        columns.insert(cell.isEmpty() ? QStringLiteral("Spalte %1").arg(i + 1) : cell, i);
    }
    QStringList names = columns.keys();
    std::sort(names.begin(), names.end(), &keyLess);
    for (const QString& name : names)
        keys_.emplace_back(name.toUtf8(), columns.value(name));
    hasHeader_ = true;
}

void JSONTableWriter::string(QByteArrayView text) {
    static constexpr char hex[] = "0123456789abcdef";
    out_.append('"');
    qsizetype from = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x20 && byte != '"' && byte != '\\')
            continue;
        out_.append(text.sliced(from, i - from));
        from = i + 1;
        switch (byte) {
        case '"':
            out_.append("\\\"");
            break;
        case '\\':
            out_.append("\\\\");
            break;
        case '\n':
            out_.append("\\n");
            break;
        case '\r':
            out_.append("\\r");
            break;
        case '\t':
            out_.append("\\t");
            break;
        case '\b':
            out_.append("\\b");
            break;
        case '\f':
            out_.append("\\f");
            break;
        default: {
            const char escape[] = {'\\', 'u', '0', '0', hex[byte >> 4], hex[byte & 15]};
            out_.append(QByteArrayView(escape, sizeof escape));
        }
        }
    }
    out_.append(text.sliced(from));
    out_.append('"');
}

void JSONTableWriter::row(const TableRow& row) {
    if (!hasHeader_) {
        header(row);
        return;
    }
    out_.append(objects_++ == 0 ? QByteArrayView("[\n  {\n") : QByteArrayView(",\n  {\n"));
    for (std::size_t k = 0; k < keys_.size(); ++k) {
        out_.append(k == 0 ? QByteArrayView("    ") : QByteArrayView(",\n    "));
        string(keys_[k].first);
        out_.append(": ");
        const qsizetype column = keys_[k].second;
        string(column < row.size() ? row.cell(column) : QByteArrayView());
    }
    out_.append("\n  }");
}

void JSONTableWriter::finish() {
    out_.append(objects_ == 0 ? QByteArrayView("[]") : QByteArrayView("\n]"));
    out_.flush();
}

} // namespace tramix
