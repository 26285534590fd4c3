#include "XLSXWriter.h"

#include "ChildProcess.h"
#include "ConversionError.h"
#include "XLSXCells.h"
#include "XMLText.h"

#include <QDir>
#include <QFileInfo>

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

void writePart(const ScratchFolder& folder, const QString& name, const QByteArray& bytes) {
    const QString path = folder.filePath(name);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush()) {
        throw ConversionError::failed(QStringLiteral("„%1“ konnte nicht geschrieben werden: %2")
                                          .arg(name, file.errorString()));
    }
}

} // namespace

XLSXWriter::XLSXWriter(const QString& destination)
    : destination_(destination)
    , folder_(QStringLiteral("tramix-xlsx-"))
    , sheet_(folder_.filePath(QStringLiteral("xl/worksheets/sheet1.xml")))
    , out_(sheet_, QFileInfo(destination).fileName()) {
    // zip would add to an existing archive instead of replacing it; neither may happen.
    if (QFileInfo::exists(destination)) {
        throw ConversionError::failed(
            QStringLiteral("„%1“ konnte nicht geschrieben werden: Die Datei gibt es schon.")
                .arg(QFileInfo(destination).fileName()));
    }
    writePart(folder_, QStringLiteral("[Content_Types].xml"), contentTypes());
    writePart(folder_, QStringLiteral("_rels/.rels"),
              relationship("officeDocument", "xl/workbook.xml"));
    writePart(folder_, QStringLiteral("xl/workbook.xml"), workbook());
    writePart(folder_, QStringLiteral("xl/_rels/workbook.xml.rels"),
              relationship("worksheet", "worksheets/sheet1.xml"));
    QDir().mkpath(folder_.filePath(QStringLiteral("xl/worksheets")));
    if (!sheet_.open(QIODevice::WriteOnly)) {
        throw ConversionError::failed(QStringLiteral("„%1“ konnte nicht geschrieben werden: %2")
                                          .arg(sheet_.fileName(), sheet_.errorString()));
    }
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
    sheet_.close();
    ChildProcess::run(QStringLiteral("/usr/bin/zip"),
                      {QStringLiteral("-X"), QStringLiteral("-r"), QStringLiteral("-q"),
                       destination_, QStringLiteral("[Content_Types].xml"), QStringLiteral("_rels"),
                       QStringLiteral("xl")},
                      folder_.path());
}

} // namespace tramix
