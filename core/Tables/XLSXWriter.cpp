#include "XLSXWriter.h"

#include "AtomicFile.h"
#include "ChildProcess.h"
#include "ConversionError.h"
#include "SystemError.h"
#include "TableLimits.h"
#include "XLSXCells.h"
#include "XMLText.h"

#include <QDir>
#include <QFileInfo>
#include <cerrno>

namespace tramix {

namespace {

constexpr const char* declaration =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr const char* mainNamespace = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr const char* relationships =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

QByteArray contentTypes() {
    return QByteArray(declaration) +
           "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
           "<Default Extension=\"rels\" "
           "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
           "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
           "<Override PartName=\"/xl/workbook.xml\" ContentType=\"application/"
           "vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
           "<Override PartName=\"/xl/worksheets/sheet1.xml\" ContentType=\"application/"
           "vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/></Types>";
}

QByteArray relationship(const char* type, const char* target) {
    return QByteArray(declaration) +
           "<Relationships "
           "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
           "<Relationship Id=\"rId1\" Type=\"" +
           relationships + '/' + type + "\" Target=\"" + target + "\"/></Relationships>";
}

QByteArray workbook() {
    return QByteArray(declaration) + "<workbook xmlns=\"" + mainNamespace + "\" xmlns:r=\"" +
           relationships +
           "\"><sheets><sheet name=\"Tabelle1\" sheetId=\"1\" r:id=\"rId1\"/></sheets></workbook>";
}

// Throws the sentence for a write that just failed, by its errno.
[[noreturn]] void writeFailed(const QString& name) {
    SystemError::throwWriteFailure(name, errno ? errno : EIO);
}

void writePart(const ScratchFolder& folder, const QString& part, const QByteArray& bytes,
               const QString& name) {
    const QString path = folder.filePath(part);
    errno = 0;
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        writeFailed(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        writeFailed(name);
    file.close();
    if (file.error() != QFileDevice::NoError)
        writeFailed(name);
}

// The package's name in the scratch folder: the user's, so that a failure to copy it names the
// file they know, unless zip would take it for something else.
QString archiveName(const QString& name) {
    const bool usable = !QFileInfo(name).suffix().isEmpty() && !name.startsWith(u'[') &&
                        name != u"_rels" && name != u"xl";
    return usable ? name : QStringLiteral("Arbeitsmappe.xlsx");
}

ConversionError tooManyRows() {
    return ConversionError::failed(
        QStringLiteral("Die Tabelle hat mehr Zeilen, als eine Excel-Datei fasst (höchstens %1).")
            .arg(TableLimits::count(TableLimits::maxRows)));
}

ConversionError tooManyColumns(qint64 row, qsizetype lastColumn) {
    return ConversionError::failed(
        QStringLiteral("Die Tabelle hat mehr Spalten, als eine Excel-Datei fasst (Zeile %1 reicht "
                       "bis Spalte %2, höchstens %3 sind möglich).")
            .arg(TableLimits::count(row), TableLimits::count(lastColumn + 1),
                 TableLimits::count(TableLimits::maxColumns)));
}

} // namespace

XLSXWriter::XLSXWriter(const QString& destination, const QString& name)
    : destination_(destination)
    , name_(name)
    , folder_(QStringLiteral("tramix-xlsx-"))
    , sheet_(folder_.filePath(QStringLiteral("xl/worksheets/sheet1.xml")))
    , out_(sheet_, name) {
    writePart(folder_, QStringLiteral("[Content_Types].xml"), contentTypes(), name_);
    writePart(folder_, QStringLiteral("_rels/.rels"),
              relationship("officeDocument", "xl/workbook.xml"), name_);
    writePart(folder_, QStringLiteral("xl/workbook.xml"), workbook(), name_);
    writePart(folder_, QStringLiteral("xl/_rels/workbook.xml.rels"),
              relationship("worksheet", "worksheets/sheet1.xml"), name_);
    errno = 0;
    if (!QDir().mkpath(folder_.filePath(QStringLiteral("xl/worksheets"))) ||
        !sheet_.open(QIODevice::WriteOnly))
        writeFailed(name_);
    out_.append(declaration);
    out_.append("<worksheet xmlns=\"");
    out_.append(mainNamespace);
    out_.append("\"><sheetData>");
}

const QByteArray& XLSXWriter::columnName(qsizetype column) {
    while (static_cast<qsizetype>(columnNames_.size()) <= column)
        columnNames_.push_back(
            XLSXCells::columnName(static_cast<int>(columnNames_.size())).toLatin1());
    return columnNames_[column];
}

void XLSXWriter::cell(QByteArrayView text, qsizetype column, QByteArrayView rowNumber) {
    out_.append("<c r=\"");
    out_.append(columnName(column));
    out_.append(rowNumber);
    if (XLSXCells::isNumber(text)) {
        out_.append("\"><v>");
        out_.append(text);
        out_.append("</v></c>");
        return;
    }
    out_.append("\" t=\"inlineStr\"><is><t xml:space=\"preserve\">");
    if (XMLText::needsEscape(text))
        out_.append(XMLText::escape(QString::fromUtf8(text)).toUtf8());
    else
        out_.append(text);
    out_.append("</t></is></c>");
}

void XLSXWriter::row(const TableRow& row) {
    if (rows_ >= TableLimits::maxRows)
        throw tooManyRows();
    // Empty cells are not written, so only the last one with content must fit.
    qsizetype last = row.size() - 1;
    while (last >= TableLimits::maxColumns && row.cell(last).isEmpty())
        --last;
    if (last >= TableLimits::maxColumns)
        throw tooManyColumns(rows_ + 1, last);
    const QByteArray number = QByteArray::number(++rows_);
    out_.append("<row r=\"");
    out_.append(number);
    out_.append("\">");
    for (qsizetype i = 0; i < row.size(); ++i) {
        if (!row.cell(i).isEmpty())
            cell(row.cell(i), i, number);
    }
    out_.append("</row>");
}

void XLSXWriter::finish() {
    out_.append("</sheetData></worksheet>");
    out_.flush();
    errno = 0;
    if (!sheet_.flush())
        writeFailed(name_);
    sheet_.close();
    if (sheet_.error() != QFileDevice::NoError)
        writeFailed(name_);
    // zip makes its own temporary file beside the package, so it packs here and the package is
    // copied into the destination, which may be a file without a folder of its own.
    const QString package = folder_.filePath(archiveName(name_));
    const auto explain = [&](int exitCode, const QString& errorOutput) {
        constexpr int writeError = 14;  // zip: "error writing to a file"
        constexpr int createError = 15; // zip: "unable to create or open a file"
        if (exitCode != writeError && exitCode != createError)
            return QString();
        const int cause = errorOutput.contains(u"No space left") ? ENOSPC : EIO;
        return QStringLiteral("„%1“ konnte nicht geschrieben werden: %2")
            .arg(name_, SystemError::writeReason(cause));
    };
    ChildProcess::run(QStringLiteral("/usr/bin/zip"),
                      {QStringLiteral("-X"), QStringLiteral("-r"), QStringLiteral("-q"), package,
                       QStringLiteral("[Content_Types].xml"), QStringLiteral("_rels"),
                       QStringLiteral("xl")},
                      folder_.path(), {}, explain);
    AtomicFile::fillFrom(destination_, package);
}

} // namespace tramix
