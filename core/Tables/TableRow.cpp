#include "TableRow.h"

#include <QStringDecoder>

namespace tramix {

QByteArrayView TableRow::cell(qsizetype index) const {
    const qsizetype from = start(index);
    return QByteArrayView(bytes_.constData() + from, ends_[index] - from);
}

void TableRow::clear() {
    bytes_.resize(0);
    ends_.clear();
}

void TableRow::append(QByteArrayView cell) {
    bytes_.append(cell);
    closeCell();
}

TableRow TableRow::from(const QStringList& cells) {
    TableRow row;
    for (const QString& cell : cells)
        row.append(cell.toUtf8());
    return row;
}

QStringList TableRow::toStrings() const {
    // QString::fromUtf8 would drop a cell's leading U+FEFF as a byte-order mark.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QStringList cells;
    cells.reserve(size());
    for (qsizetype i = 0; i < size(); ++i)
        cells.append(decoder.decode(cell(i)));
    return cells;
}

} // namespace tramix
