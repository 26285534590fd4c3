#include "XLSX.h"

#include "CellSpool.h"
#include "ChildProcess.h"
#include "ConversionError.h"
#include "ScratchFolder.h"
#include "SharedStrings.h"
#include "SheetReader.h"
#include "TableRow.h"
#include "XLSXWriter.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <algorithm>

namespace tramix::XLSX {

namespace {

ConversionError damaged() {
    return ConversionError::failed(QStringLiteral("Die Excel-Datei ist beschädigt."));
}

// Unpacked parts are read only when they are plain files: a link could point anywhere.
bool isPlainFile(const QString& path) {
    const QFileInfo info(path);
    return info.isFile() && !info.isSymLink();
}

QString firstWorksheet(const ScratchFolder& folder) {
    const QString base = folder.filePath(QStringLiteral("xl/worksheets"));
    QStringList candidates;
    QDirIterator it(base, QDir::Files | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString relative = QDir(base).relativeFilePath(path);
        if (relative.startsWith(u"sheet") && isPlainFile(path))
            candidates.append(relative);
    }
    if (candidates.isEmpty())
        return {};
    candidates.sort();
    return base + u'/' + candidates.first();
}

// The rows of a sheet, read once into a spool: cells in row order (as spreadsheet programs
// write them) are handed over row by row, padded to the widest row; a sheet out of order is
// collected whole first.
qint64 streamSheet(const ScratchFolder& folder, const QString& path, const QStringList& shared,
                   const std::function<void(const TableRow&)>& onRow) {
    CellSpool spool(folder.filePath(QStringLiteral("cells")));
    int width = 0;
    int last = -1;
    bool ordered = true;
    QFile file(path);
    SheetReader sheet(shared, [&](int row, int column, const QString& text) {
        width = std::max(width, column + 1);
        ordered = ordered && row >= last;
        last = std::max(last, row);
        spool.add(row, column, text);
    });
    if (!file.open(QIODevice::ReadOnly) || !sheet.parse(file))
        throw damaged();
    file.remove(); // the spool holds it all now

    if (!ordered) {
        SheetReader collected(shared);
        spool.replay([&](int row, int column, QByteArrayView text) {
            collected.cells[row][column] = QString::fromUtf8(text);
        });
        const TableGrid grid = collected.grid();
        for (const QStringList& cells : grid)
            onRow(TableRow::from(cells));
        return grid.size();
    }

    std::vector<QByteArray> cells(width);
    TableRow row;
    int current = 0;
    const auto handOver = [&] {
        row.clear();
        for (QByteArray& cell : cells) {
            row.append(cell);
            cell.resize(0);
        }
        onRow(row);
        ++current;
    };
    spool.replay([&](int at, int column, QByteArrayView text) {
        while (current < at)
            handOver();
        cells[column] = text.toByteArray();
    });
    while (current <= last)
        handOver();
    return last + 1;
}

} // namespace

qint64 stream(const QString& workbook, const std::function<void(const TableRow&)>& onRow) {
    const ScratchFolder folder(QStringLiteral("tramix-xlsx-"));
    try {
        // Pictures and embedded files are no part of the grid.
        ChildProcess::run(QStringLiteral("/usr/bin/unzip"),
                          {QStringLiteral("-qq"), QStringLiteral("-o"), workbook,
                           QStringLiteral("xl/*"), QStringLiteral("-x"),
                           QStringLiteral("xl/media/*"), QStringLiteral("xl/embeddings/*"),
                           QStringLiteral("-d"), folder.path()});
    } catch (const ConversionError&) {
        throw damaged();
    }

    SharedStrings shared;
    const QString sharedPath = folder.filePath(QStringLiteral("xl/sharedStrings.xml"));
    if (isPlainFile(sharedPath)) {
        QFile file(sharedPath);
        if (!file.open(QIODevice::ReadOnly) || !shared.parse(file))
            throw damaged();
    }
    const QString sheetPath = firstWorksheet(folder);
    return sheetPath.isEmpty() ? 0 : streamSheet(folder, sheetPath, shared.strings, onRow);
}

TableGrid read(const QString& workbook) {
    TableGrid grid;
    stream(workbook, [&](const TableRow& row) { grid.append(row.toStrings()); });
    return grid;
}

void write(const TableGrid& grid, const QString& destination) {
    XLSXWriter writer(destination);
    TableRow row;
    for (const QStringList& cells : grid) {
        row.clear();
        for (const QString& cell : cells)
            row.append(cell.toUtf8());
        writer.row(row);
    }
    writer.finish();
}
} // namespace tramix::XLSX
