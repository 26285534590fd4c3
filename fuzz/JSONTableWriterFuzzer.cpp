// Any grid written as JSON must parse as JSON and have the grid's shape: one object per row
// after the header, each naming every column once, with the row's own texts as values.
#include "GridBytes.h"
#include "Tables/JSONTableWriter.h"

#include <QBuffer>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace tramix;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const TableGrid grid = fuzz::grid(data, size);
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    JSONTableWriter writer(out, QStringLiteral("fuzz.json"));
    for (const QStringList& row : grid)
        writer.row(TableRow::from(row));
    writer.finish();

    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(out.data(), &error);
    const QString written = QString::fromUtf8(out.data());
    FUZZ_CHECK(error.error == QJsonParseError::NoError, error.errorString() + u'\n' + written);
    FUZZ_CHECK(document.isArray(), written);
    const QJsonArray objects = document.array();
    FUZZ_CHECK(objects.size() == std::max<qsizetype>(grid.size() - 1, 0), written);
    if (grid.isEmpty())
        return 0;

    // An empty header names its column by number; a repeated name takes the later column.
    QHash<QString, qsizetype> columns;
    for (qsizetype i = 0; i < grid[0].size(); ++i)
        columns.insert(grid[0][i].isEmpty() ? QStringLiteral("Spalte %1").arg(i + 1) : grid[0][i],
                       i);
    for (qsizetype r = 1; r < grid.size(); ++r) {
        // Read pair by pair: QJsonObject's own lookup misses some keys with replacement
        // characters.
        QHash<QString, QString> values;
        const QJsonObject object = objects[r - 1].toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            values.insert(it.key(), it.value().toString());
        FUZZ_CHECK(values.size() == columns.size(), written);
        for (auto it = columns.cbegin(); it != columns.cend(); ++it) {
            const QStringList& row = grid[r];
            const QString expected = it.value() < row.size() ? row[it.value()] : QString();
            FUZZ_CHECK(values.contains(it.key()) && values.value(it.key()) == expected,
                       it.key() + u'\n' + written);
        }
    }
    return 0;
}
