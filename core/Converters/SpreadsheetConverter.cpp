#include "SpreadsheetConverter.h"

#include "../ConversionError.h"

namespace tramix::SpreadsheetConverter {

const QList<Format>& formats() {
    static const QList<Format> list = {
        {"xlsx", "XLSX"}, {"csv", "CSV"}, {"tsv", "TSV"}, {"json", "JSON"}, {"html", "HTML"}};
    return list;
}

QString convert(const QString&, const QString& ext, const OutputContext&) {
    throw ConversionError::unsupported(
        QStringLiteral("Tabellenumwandlung in %1").arg(ext.toUpper()));
}

} // namespace tramix::SpreadsheetConverter
