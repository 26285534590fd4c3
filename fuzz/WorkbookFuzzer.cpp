// A whole workbook file: the package directory, the inflated parts and the sheet behind them.
// Whatever the bytes, reading ends in rows inside a sheet's limits or in a sentence.
#include "ConversionError.h"
#include "FuzzCheck.h"
#include "Tables/TableLimits.h"
#include "Tables/XLSX.h"

#include <QFile>
#include <QTemporaryDir>

using namespace tramix;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("Mappe.xlsx"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        std::abort();
    file.close();

    qint64 handed = 0;
    try {
        const qint64 rows = XLSX::stream(path, [&](const TableRow& row) {
            FUZZ_CHECK(row.size() <= TableLimits::maxColumns, QString::number(row.size()));
            ++handed;
        });
        FUZZ_CHECK(rows == handed && rows <= TableLimits::maxRows, QString::number(rows));
    } catch (const ConversionError& error) {
        FUZZ_CHECK(!error.errorDescription().isEmpty(), path);
    }
    return 0;
}
