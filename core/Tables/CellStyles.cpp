#include "CellStyles.h"

#include <QXmlStreamReader>
#include <map>

namespace tramix {

bool CellStyles::parse(QIODevice& device) {
    QXmlStreamReader xml(&device);
    // Formats also stand in the differential formats and the styles that cells inherit from;
    // only the workbook's list of formats and the cells' own styles count.
    bool inFormats = false;
    bool inCellStyles = false;
    std::vector<quint32> formatIds; // of each cell style, in order
    std::map<quint32, DateFormats::Kind> ownFormats;
    const auto id = [&] { return xml.attributes().value(QLatin1String("numFmtId")).toUInt(); };
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement: {
            const QStringView name = xml.name();
            if (name == u"numFmts") {
                inFormats = true;
            } else if (name == u"cellXfs") {
                inCellStyles = true;
            } else if (name == u"numFmt" && inFormats) {
                ownFormats[id()] =
                    DateFormats::ofCode(xml.attributes().value(QLatin1String("formatCode")));
            } else if (name == u"xf" && inCellStyles) {
                formatIds.push_back(id()); // none is 0, "General"
            }
            break;
        }
        case QXmlStreamReader::DTD:
            xml.raiseError(QStringLiteral("DTD"));
            break;
        case QXmlStreamReader::EndElement:
            if (xml.name() == u"numFmts")
                inFormats = false;
            else if (xml.name() == u"cellXfs")
                inCellStyles = false;
            break;
        default:
            break;
        }
    }
    // The list of formats may come after the cell styles, so they are matched up at the end.
    kinds_.reserve(formatIds.size());
    for (const quint32 formatId : formatIds) {
        const auto own = ownFormats.find(formatId);
        kinds_.push_back(own != ownFormats.end() ? own->second : DateFormats::builtIn(formatId));
    }
    return !xml.hasError();
}

DateFormats::Kind CellStyles::kindOf(qint64 index) const {
    return index >= 0 && index < qint64(kinds_.size()) ? kinds_[size_t(index)]
                                                       : DateFormats::Kind::Number;
}

} // namespace tramix
