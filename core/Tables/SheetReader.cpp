#include "SheetReader.h"

#include "SerialDates.h"
#include "TableLimits.h"
#include "XLSXCells.h"

#include <QXmlStreamReader>
#include <algorithm>
#include <charconv>

namespace tramix {

namespace {

std::optional<double> parseDouble(const QString& text) {
    const QByteArray bytes = text.toLatin1();
    double number = 0;
    const auto result =
        std::from_chars(bytes.constData(), bytes.constData() + bytes.size(), number);
    if (bytes.isEmpty() || result.ec != std::errc() ||
        result.ptr != bytes.constData() + bytes.size())
        return std::nullopt;
    return number;
}

// A reference as the sentence about it quotes it: a hostile file's may be endless.
QString quoted(QStringView reference) {
    constexpr qsizetype longest = 20;
    return reference.size() <= longest ? reference.toString()
                                       : reference.first(longest).toString() + u'…';
}

} // namespace

// Rows and columns saturate at the limits, so counting on past them never overflows.
bool SheetReader::startRow(QStringView reference) {
    column = -1;
    bool ok = false;
    const qint64 number = reference.toLongLong(&ok);
    const bool digits =
        !reference.isEmpty() && std::all_of(reference.begin(), reference.end(),
                                            [](QChar c) { return c >= u'0' && c <= u'9'; });
    if (digits && (!ok || number > TableLimits::maxRows)) {
        outside = QStringLiteral("Zeile %1").arg(quoted(reference));
        return false;
    }
    // Without a usable number, the row after the last; row 0 and below hold nothing we keep.
    row = !ok ? std::min(row + 1, TableLimits::maxRows) : number < 1 ? -1 : int(number) - 1;
    if (row < TableLimits::maxRows)
        return true;
    outside = QStringLiteral("Zeile %1").arg(TableLimits::maxRows + 1);
    return false;
}

bool SheetReader::startCell(const QXmlStreamAttributes& attributes) {
    type = attributes.hasAttribute(QLatin1String("t"))
               ? attributes.value(QLatin1String("t")).toString()
               : QStringLiteral("n");
    style = attributes.value(QLatin1String("s")).toLongLong(); // none is the first style
    value.clear();
    if (!attributes.hasAttribute(QLatin1String("r"))) {
        column = std::min(column + 1, TableLimits::maxColumns);
        if (column < TableLimits::maxColumns)
            return true;
        outside = QStringLiteral("Spalte %1").arg(XLSXCells::columnName(column));
        return false;
    }
    const QStringView reference = attributes.value(QLatin1String("r"));
    const qsizetype letters = std::find_if(reference.begin(), reference.end(),
                                           [](QChar c) { return c < u'A' || c > u'Z'; }) -
                              reference.begin();
    column = XLSXCells::columnIndex(reference);
    if (letters <= 3 && column < TableLimits::maxColumns) // "XFD" is the last column
        return true;
    outside = QStringLiteral("Spalte %1").arg(quoted(reference.first(letters)));
    return false;
}

QString SheetReader::cellText() const {
    if (type == u"s") {
        bool ok = false;
        const qsizetype index = value.toLongLong(&ok);
        return ok && index >= 0 && index < shared.size() ? shared[index] : QString();
    }
    if (type == u"b")
        return value == u"1" ? QStringLiteral("WAHR") : QStringLiteral("FALSCH");
    if (type == u"n") {
        const std::optional<double> number = parseDouble(value);
        if (!number)
            return value;
        const auto moment = SerialDates::text(*number, styles.kindOf(style), date1904);
        return moment ? *moment : XLSXCells::format(*number);
    }
    return value;
}

bool SheetReader::parse(QIODevice& device) {
    QXmlStreamReader xml(&device);
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement: {
            const QStringView name = xml.name();
            if (name == u"row") {
                if (!startRow(xml.attributes().value(QLatin1String("r"))))
                    xml.raiseError(outside);
            } else if (name == u"c") {
                if (!startCell(xml.attributes()))
                    xml.raiseError(outside);
            } else if (name == u"v" || name == u"t") {
                collecting = true;
            }
            break;
        }
        case QXmlStreamReader::DTD:
            // Workbook parts have none (OPC forbids them); its entities could swell one cell
            // to gigabytes.
            xml.raiseError(QStringLiteral("DTD"));
            break;
        case QXmlStreamReader::Characters:
            if (collecting)
                value += xml.text();
            break;
        case QXmlStreamReader::EndElement: {
            const QStringView name = xml.name();
            if (name == u"v" || name == u"t")
                collecting = false;
            else if (name == u"c" && row >= 0)
                onCell(row, column, cellText());
            break;
        }
        default:
            break;
        }
    }
    return !xml.hasError();
}

} // namespace tramix
