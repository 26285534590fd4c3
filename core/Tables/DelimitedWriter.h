// Writes rows as delimited text (CSV with a comma, TSV with a tab), one line feed after each row.
#pragma once

#include "BufferedOutput.h"
#include "TableWriter.h"

namespace tramix {

class DelimitedWriter : public TableWriter {
public:
    DelimitedWriter(QIODevice& device, const QString& name, char delimiter);
    void row(const TableRow& row) override;
    void finish() override;

private:
    void cell(QByteArrayView text);

    BufferedOutput out_;
    char delimiter_;
};

} // namespace tramix
