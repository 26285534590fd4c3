// Writes rows into a one-sheet workbook: the worksheet grows row by row in a private work
// folder, and `finish` packs the package to the destination with zip.
#pragma once

#include "BufferedOutput.h"
#include "ScratchFolder.h"
#include "TableWriter.h"

#include <QFile>
#include <vector>

namespace tramix {

class XLSXWriter : public TableWriter {
public:
    // `destination` must not exist yet; zip creates it.
    explicit XLSXWriter(const QString& destination);
    void row(const TableRow& row) override;
    void finish() override;

private:
    void cell(QByteArrayView text, qsizetype column, QByteArrayView rowNumber);
    const QByteArray& columnName(qsizetype column);

    QString destination_;
    ScratchFolder folder_;
    QFile sheet_;
    BufferedOutput out_;
    qint64 rows_ = 0;
    std::vector<QByteArray> columnNames_;
};

} // namespace tramix
