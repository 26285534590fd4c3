// One table row as UTF-8 cells in one reused buffer, so that streaming a large table does not
// allocate per cell.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QStringList>
#include <vector>

namespace tramix {

class TableRow {
public:
    qsizetype size() const { return static_cast<qsizetype>(ends_.size()); }
    bool isEmpty() const { return ends_.empty(); }
    QByteArrayView cell(qsizetype index) const;

    void clear();
    // The bytes of the cell being built; `closeCell` ends it.
    QByteArray& buffer() { return bytes_; }
    qsizetype openCellSize() const { return bytes_.size() - start(size()); }
    void closeCell() { ends_.push_back(bytes_.size()); }
    void append(QByteArrayView cell);

    static TableRow from(const QStringList& cells);
    QStringList toStrings() const;

private:
    qsizetype start(qsizetype index) const { return index == 0 ? 0 : ends_[index - 1]; }

    QByteArray bytes_;
    std::vector<qsizetype> ends_;
};

} // namespace tramix
