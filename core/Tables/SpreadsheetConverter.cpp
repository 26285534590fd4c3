#include "SpreadsheetConverter.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "DelimitedParser.h"
#include "DelimitedWriter.h"
#include "DiskSpace.h"
#include "FileKind.h"
#include "HTMLTableWriter.h"
#include "JSONTableWriter.h"
#include "SystemError.h"
#include "TableLimits.h"
#include "TextScan.h"
#include "XLSX.h"
#include "XLSXWriter.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <memory>

namespace tramix::SpreadsheetConverter {

namespace {

constexpr qint64 chunkSize = 1 << 20;

ConversionError emptyTable() {
    return ConversionError::failed(QStringLiteral("Die Tabelle ist leer."));
}

// The sentence for a write to `name` that just failed, by its errno.
[[noreturn]] void writeFailed(const QString& name) {
    SystemError::throwWriteFailure(name, errno ? errno : EIO);
}

// JSON repeats the header in every row, so a wide header over many short rows would write far
// more than it read; no result grows past the limit of TableLimits::expansionLimit.
ConversionError resultTooLarge(const QString& name, qint64 limit, const QString& source) {
    return ConversionError::failed(
        QStringLiteral("„%1“ würde größer als %2 und damit mehr als hundertmal so groß wie „%3“; "
                       "die Umwandlung wurde abgebrochen.")
            .arg(name, DiskSpace::sizeText(limit), QFileInfo(source).fileName()));
}

// A writer for a text target on an open device.
std::unique_ptr<TableWriter> textWriter(const QString& ext, QIODevice& device, const QString& name,
                                        const QString& title) {
    if (ext == u"csv")
        return std::make_unique<DelimitedWriter>(device, name, ',');
    if (ext == u"tsv")
        return std::make_unique<DelimitedWriter>(device, name, '\t');
    if (ext == u"json")
        return std::make_unique<JSONTableWriter>(device, name);
    return std::make_unique<HTMLTableWriter>(device, name, title);
}

// Reads a file piece by piece; throws "could not be read" for the user when it cannot.
void readPieces(const QString& path, const std::function<void(QByteArrayView)>& piece) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw ConversionError::unreadable(QFileInfo(path).fileName());
    QByteArray buffer(chunkSize, Qt::Uninitialized);
    for (;;) {
        errno = 0;
        const qint64 count = file.read(buffer.data(), chunkSize);
        if (count < 0)
            SystemError::throwReadFailure(path, errno ? errno : EIO);
        if (count == 0)
            return;
        piece(QByteArrayView(buffer.constData(), count));
    }
}

// Feeds every row of a delimited file to `onRow`; returns how many there were.
qint64 streamDelimited(const QString& path, const DelimitedParser::RowHandler& onRow) {
    TextScan scan;
    readPieces(path, [&](QByteArrayView bytes) { scan.feed(bytes); });
    DelimitedParser parser(scan.delimiter(pathExtension(path).toLower()), !scan.isUtf8(), onRow);
    readPieces(path, [&](QByteArrayView bytes) { parser.feed(bytes); });
    parser.finish();
    return parser.rows();
}

// Writes the rows that `produce` hands over from `source` to `destination` in format `ext`,
// atomically, and returns the path written; a table without rows, or one that fails, leaves
// nothing behind.
QString writeTable(NameReservation destination, const QString& ext, const QString& title,
                   const QString& source,
                   const std::function<qint64(const DelimitedParser::RowHandler&)>& produce) {
    const QString name = QFileInfo(destination.path()).fileName();
    const qint64 limit = TableLimits::expansionLimit(QFileInfo(source).size());
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        if (ext == u"xlsx") {
            // A workbook holds no empty cells and no repeated header; the sheet's own limits
            // bound it.
            XLSXWriter writer(temporary, name);
            if (produce([&](const TableRow& row) { writer.row(row); }) == 0)
                throw emptyTable();
            writer.finish();
            return;
        }
        // The temporary file exists already; it may be a file without a name of its own.
        QFile file(temporary);
        errno = 0;
        if (!file.open(QIODevice::WriteOnly))
            writeFailed(name);
        const auto writer = textWriter(ext, file, name, title);
        if (produce([&](const TableRow& row) {
                writer->row(row);
                if (file.pos() > limit)
                    throw resultTooLarge(name, limit, source);
            }) == 0)
            throw emptyTable();
        writer->finish();
        errno = 0;
        if (!file.flush())
            writeFailed(name);
        file.close();
        if (file.error() != QFileDevice::NoError)
            writeFailed(name);
    });
}

QString textOf(const TableGrid& grid, const QString& ext, const QString& title = {}) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const auto writer = textWriter(ext, buffer, QString(), title);
    for (const QStringList& cells : grid)
        writer->row(TableRow::from(cells));
    writer->finish();
    return QString::fromUtf8(buffer.data());
}

} // namespace

const QList<Format>& formats() {
    static const QList<Format> list = {
        {"xlsx", "XLSX"}, {"csv", "CSV"}, {"tsv", "TSV"}, {"json", "JSON"}, {"html", "HTML"}};
    return list;
}

QString convert(const QString& input, const QString& ext, const OutputContext& context) {
    const QString target = ext.toLower();
    const bool known = std::any_of(formats().begin(), formats().end(),
                                   [&](const Format& format) { return format.ext == target; });
    if (!known)
        throw ConversionError::unsupported(QStringLiteral("Tabellen als %1").arg(ext.toUpper()));
    const QString title = QFileInfo(input).completeBaseName();
    if (!QFileInfo(input).isFile())
        throw ConversionError::unreadable(QFileInfo(input).fileName());

    const bool workbook = pathExtension(input).toLower() == u"xlsx";
    return writeTable(context.destination(input, target), target, title, input,
                      [&](const DelimitedParser::RowHandler& onRow) {
                          return workbook ? XLSX::stream(input, onRow)
                                          : streamDelimited(input, onRow);
                      });
}

TableGrid read(const QString& path) {
    if (pathExtension(path).toLower() == u"xlsx")
        return XLSX::read(path);
    TableGrid grid;
    streamDelimited(path, [&](const TableRow& row) { grid.append(row.toStrings()); });
    return grid;
}

QChar detectDelimiter(const QString& text, const QString& lowerExtension) {
    TextScan scan;
    scan.feed(text.toUtf8());
    return QChar::fromLatin1(scan.delimiter(lowerExtension));
}

TableGrid parse(const QString& text, QChar delimiter) {
    TableGrid grid;
    DelimitedParser parser(delimiter.toLatin1(), false,
                           [&](const TableRow& row) { grid.append(row.toStrings()); });
    parser.feed(text.toUtf8());
    parser.finish();
    return grid;
}

QString serialize(const TableGrid& grid, QChar delimiter) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    DelimitedWriter writer(buffer, QString(), delimiter.toLatin1());
    for (const QStringList& cells : grid)
        writer.row(TableRow::from(cells));
    writer.finish();
    return QString::fromUtf8(buffer.data());
}

QString json(const TableGrid& grid) {
    return textOf(grid, QStringLiteral("json"));
}

QString html(const TableGrid& grid, const QString& title) {
    return textOf(grid, QStringLiteral("html"), title);
}

} // namespace tramix::SpreadsheetConverter
