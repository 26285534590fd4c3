#include "SheetReader.h"

#include "XLSXCells.h"

#include <QXmlStreamReader>
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

} // namespace

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
        return number ? XLSXCells::format(*number) : value;
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
                bool ok = false;
                const int number = xml.attributes().value(QLatin1String("r")).toInt(&ok);
                row = ok ? number - 1 : row + 1;
                column = -1;
            } else if (name == u"c") {
                const QXmlStreamAttributes attributes = xml.attributes();
                column = attributes.hasAttribute(QLatin1String("r"))
                             ? XLSXCells::columnIndex(attributes.value(QLatin1String("r")))
                             : column + 1;
                type = attributes.hasAttribute(QLatin1String("t"))
                           ? attributes.value(QLatin1String("t")).toString()
                           : QStringLiteral("n");
                value.clear();
            } else if (name == u"v" || name == u"t") {
                collecting = true;
            }
            break;
        }
        case QXmlStreamReader::Characters:
            if (collecting)
                value += xml.text();
            break;
        case QXmlStreamReader::EndElement: {
            const QStringView name = xml.name();
            if (name == u"v" || name == u"t")
                collecting = false;
            else if (name == u"c" && row >= 0 && onCell)
                onCell(row, column, cellText());
            else if (name == u"c" && row >= 0)
                cells[row][column] = cellText();
            break;
        }
        default:
            break;
        }
    }
    return !xml.hasError();
}

TableGrid SheetReader::grid() const {
    if (cells.empty())
        return {};
    int width = 0;
    for (const auto& [index, columns] : cells)
        width = std::max(width, columns.rbegin()->first + 1);
    TableGrid grid(cells.rbegin()->first + 1, QStringList(width));
    for (const auto& [index, columns] : cells) {
        for (const auto& [at, text] : columns)
            grid[index][at] = text;
    }
    return grid;
}

} // namespace tramix
