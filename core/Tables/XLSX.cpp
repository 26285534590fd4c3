#include "XLSX.h"

#include "CellSpool.h"
#include "CellStyles.h"
#include "ConversionError.h"
#include "DiskSpace.h"
#include "ScratchFolder.h"
#include "SharedStrings.h"
#include "SheetReader.h"
#include "SystemError.h"
#include "TableLimits.h"
#include "TableRow.h"
#include "WorkbookProperties.h"
#include "XLSXWriter.h"
#include "ZipPackage.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <map>

namespace tramix::XLSX {

namespace {

ConversionError damaged() {
    return ConversionError::failed(QStringLiteral("Die Excel-Datei ist beschädigt."));
}

QString nameOf(const QString& path) {
    return QFileInfo(path).fileName();
}

ConversionError outsideTheSheet(const QString& workbook, const QString& where) {
    return ConversionError::failed(
        QStringLiteral("„%1“ hat Zellen außerhalb der Tabellengrenzen (%2).")
            .arg(nameOf(workbook), where));
}

// `unpacked` is a size text: what the listing says, or how far the spool got.
ConversionError packedTooTightly(const QString& workbook, const QString& unpacked, qint64 packed) {
    return ConversionError::failed(
        QStringLiteral("„%1“ würde entpackt %2 groß, mehr als das Hundertfache der Datei (%3), "
                       "und wird darum nicht gelesen.")
            .arg(nameOf(workbook), unpacked, DiskSpace::sizeText(packed)));
}

ConversionError tooSparse(const QString& workbook, qint64 rows, qint64 columns, qint64 filled) {
    return ConversionError::failed(
        QStringLiteral("„%1“ ist zu dünn besetzt: Für %2 mit Inhalt wären %3 Zeilen mit je %4 "
                       "Spalten zu schreiben, fast alle Felder leer.")
            .arg(nameOf(workbook),
                 filled == 1 ? QStringLiteral("1 Zelle")
                             : QStringLiteral("%1 Zellen").arg(TableLimits::count(filled)),
                 TableLimits::count(rows), TableLimits::count(columns)));
}

// Parts that are links or folders are no parts: the old unpacking skipped them, too.
bool isPart(const ZipPackage::Entry& entry) {
    return !entry.link && !entry.name.endsWith(u'/');
}

// Anything of a workbook besides pictures and embedded files; a package without is none.
bool holdsWorkbook(const ZipPackage& package) {
    return std::any_of(package.entries().begin(), package.entries().end(), [](const auto& entry) {
        return entry.name.startsWith(u"xl/") && !entry.name.startsWith(u"xl/media/") &&
               !entry.name.startsWith(u"xl/embeddings/");
    });
}

const ZipPackage::Entry* partNamed(const ZipPackage& package, QStringView name) {
    const ZipPackage::Entry* entry = package.find(name);
    return entry && isPart(*entry) ? entry : nullptr;
}

// Reads one of the small parts that the sheet needs, whole, before the sheet.
template <typename Parser>
void readPart(const ZipPackage& package, const ZipPackage::Entry* part, Parser& parser) {
    if (!part)
        return;
    const auto reader = package.read(*part);
    if (!parser.parse(*reader) || reader->failed())
        throw damaged();
}

const ZipPackage::Entry* firstWorksheet(const ZipPackage& package) {
    const ZipPackage::Entry* first = nullptr;
    for (const ZipPackage::Entry& entry : package.entries()) {
        if (entry.name.startsWith(u"xl/worksheets/sheet") && isPart(entry) &&
            (!first || entry.name < first->name))
            first = &entry;
    }
    return first;
}

// The rows of a sheet, read once into a spool: cells in row order (as spreadsheet programs
// write them) are handed over row by row, padded to the widest row; a sheet out of order is
// collected first, its cells (not its grid) in memory.
qint64 streamSheet(const ZipPackage& package, const ZipPackage::Entry& part,
                   const ScratchFolder& folder, const QStringList& shared, const CellStyles& styles,
                   bool date1904, const QString& workbook,
                   const std::function<void(const TableRow&)>& onRow) {
    CellSpool spool(folder.filePath(QStringLiteral("cells")));
    // Shared strings used over and over must not fill the disk either.
    const qint64 spoolLimit = TableLimits::expansionLimit(package.fileSize());
    int width = 0;
    int last = -1;
    qint64 filled = 0;
    bool ordered = true;
    SheetReader sheet(shared, styles, date1904, [&](int row, int column, const QString& text) {
        width = std::max(width, column + 1);
        ordered = ordered && row >= last;
        last = std::max(last, row);
        filled += text.isEmpty() ? 0 : 1;
        spool.add(row, column, text);
        if (spool.size() > spoolLimit) {
            throw packedTooTightly(workbook,
                                   QStringLiteral("über %1").arg(DiskSpace::sizeText(spoolLimit)),
                                   package.fileSize());
        }
    });
    const auto reader = package.read(part);
    const bool parsed = sheet.parse(*reader);
    if (!sheet.outside.isEmpty())
        throw outsideTheSheet(workbook, sheet.outside);
    if (!parsed || reader->failed())
        throw damaged();
    const qint64 rows = last + 1;
    if (TableLimits::gridTooSparse(rows, width, filled))
        throw tooSparse(workbook, rows, width, filled);

    TableRow row;
    if (!ordered) {
        std::map<int, std::map<int, QByteArray>> cells;
        spool.replay([&](int at, int column, QByteArrayView text) {
            cells[at][column] = text.toByteArray();
        });
        const std::map<int, QByteArray> none;
        for (int at = 0; at < rows; ++at) {
            const auto found = cells.find(at);
            const std::map<int, QByteArray>& columns = found == cells.end() ? none : found->second;
            auto cell = columns.begin();
            row.clear();
            for (int column = 0; column < width; ++column) {
                const bool here = cell != columns.end() && cell->first == column;
                row.append(here ? QByteArrayView((cell++)->second) : QByteArrayView());
            }
            onRow(row);
            if (found != cells.end())
                cells.erase(found);
        }
        return rows;
    }

    std::vector<QByteArray> cells(width);
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
    return rows;
}

} // namespace

qint64 stream(const QString& workbook, const std::function<void(const TableRow&)>& onRow) {
    ZipPackage package;
    if (!package.open(workbook)) {
        if (package.openError != 0)
            SystemError::throwReadFailure(workbook, package.openError);
        throw damaged();
    }
    if (!holdsWorkbook(package))
        throw damaged();
    const ZipPackage::Entry* propertiesPart = partNamed(package, u"xl/workbook.xml");
    const ZipPackage::Entry* stylesPart = partNamed(package, u"xl/styles.xml");
    const ZipPackage::Entry* sharedPart = partNamed(package, u"xl/sharedStrings.xml");
    const ZipPackage::Entry* sheetPart = firstWorksheet(package);

    // The parts are never unpacked to disk, but their text is read, and what the listing
    // promises is checked before: a part that holds more than listed stops being read there.
    qint64 unpacked = 0;
    for (const ZipPackage::Entry* part : {propertiesPart, stylesPart, sharedPart, sheetPart})
        unpacked += part ? part->size : 0;
    if (unpacked > TableLimits::expansionLimit(package.fileSize()))
        throw packedTooTightly(workbook, DiskSpace::sizeText(unpacked), package.fileSize());

    WorkbookProperties properties;
    readPart(package, propertiesPart, properties);
    CellStyles styles;
    readPart(package, stylesPart, styles);
    SharedStrings shared;
    readPart(package, sharedPart, shared);
    if (!sheetPart)
        return 0;
    const ScratchFolder folder(QStringLiteral("tramix-xlsx-"));
    // The spool holds the cells' texts, about what the sheet's XML holds.
    DiskSpace::require(folder.path(), sheetPart->size);
    return streamSheet(package, *sheetPart, folder, shared.strings, styles, properties.date1904,
                       workbook, onRow);
}

TableGrid read(const QString& workbook) {
    TableGrid grid;
    stream(workbook, [&](const TableRow& row) { grid.append(row.toStrings()); });
    return grid;
}

void write(const TableGrid& grid, const QString& destination) {
    QFile file(destination);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        const int error = errno;
        if (error == EEXIST) {
            throw ConversionError::failed(
                QStringLiteral("„%1“ konnte nicht geschrieben werden: Die Datei gibt es schon.")
                    .arg(nameOf(destination)));
        }
        SystemError::throwWriteFailure(destination, error);
    }
    file.close();
    try {
        XLSXWriter writer(destination, nameOf(destination));
        TableRow row;
        for (const QStringList& cells : grid) {
            row.clear();
            for (const QString& cell : cells)
                row.append(cell.toUtf8());
            writer.row(row);
        }
        writer.finish();
    } catch (...) {
        file.remove();
        throw;
    }
}
} // namespace tramix::XLSX
