// Writes rows as a JSON array of objects keyed by the header row, all values strings, keys
// sorted, two-space indentation, one object at a time.
#pragma once

#include "BufferedOutput.h"
#include "TableWriter.h"

#include <utility>
#include <vector>

namespace tramix {

class JSONTableWriter : public TableWriter {
public:
    JSONTableWriter(QIODevice& device, const QString& name);
    void row(const TableRow& row) override;
    void finish() override;

    // Orders keys as people read them: case-insensitive, digit runs by their value ("Spalte 2"
    // before "Spalte 10"), the exact text deciding ties.
    static bool keyLess(const QString& a, const QString& b);

private:
    void header(const TableRow& row);
    void string(QByteArrayView text);

    BufferedOutput out_;
    bool hasHeader_ = false;
    qint64 objects_ = 0;
    // Each distinct key (UTF-8) with the column its value comes from.
    std::vector<std::pair<QByteArray, qsizetype>> keys_;
};

} // namespace tramix
