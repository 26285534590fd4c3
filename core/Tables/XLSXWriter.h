// Writes rows into a one-sheet workbook: the parts and the worksheet, growing row by row, go into
// a private scratch folder, and `finish` packs them there with zip and copies the package into
// the destination.
#pragma once

#include "BufferedOutput.h"
#include "ScratchFolder.h"
#include "TableWriter.h"

#include <QFile>
#include <vector>

namespace tramix {

class XLSXWriter : public TableWriter {
public:
    // `destination` is a file to fill, such as AtomicFile's temporary; `name` is the file name
    // the user knows, for sentences about failures.
    XLSXWriter(const QString& destination, const QString& name);
    // Throws ConversionError when a row goes past the limits of a workbook (see TableLimits):
    // a workbook beyond them is one spreadsheet programs refuse to open.
    void row(const TableRow& row) override;
    void finish() override;

private:
    void cell(QByteArrayView text, qsizetype column, QByteArrayView rowNumber);
    const QByteArray& columnName(qsizetype column);

    QString destination_;
    QString name_;
    ScratchFolder folder_;
    QFile sheet_;
    BufferedOutput out_;
    qint64 rows_ = 0;
    std::vector<QByteArray> columnNames_;
};

} // namespace tramix
