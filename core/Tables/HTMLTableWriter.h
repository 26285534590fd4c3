// Writes rows as one HTML document holding a table; the first row becomes the header.
#pragma once

#include "BufferedOutput.h"
#include "TableWriter.h"

namespace tramix {

class HTMLTableWriter : public TableWriter {
public:
    HTMLTableWriter(QIODevice& device, const QString& name, const QString& title);
    void row(const TableRow& row) override;
    void finish() override;

private:
    void escaped(QByteArrayView text);

    BufferedOutput out_;
    qint64 rows_ = 0;
};

} // namespace tramix
