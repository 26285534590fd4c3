#include "SharedStrings.h"

#include <QXmlStreamReader>

namespace tramix {

bool SharedStrings::parse(QIODevice& device) {
    QXmlStreamReader xml(&device);
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (xml.name() == u"si")
                current.clear();
            else if (xml.name() == u"t")
                inText = true;
            break;
        case QXmlStreamReader::DTD:
            // Workbook parts have none (OPC forbids them); its entities could swell one cell
            // to gigabytes.
            xml.raiseError(QStringLiteral("DTD"));
            break;
        case QXmlStreamReader::Characters:
            if (inText)
                current += xml.text();
            break;
        case QXmlStreamReader::EndElement:
            if (xml.name() == u"t")
                inText = false;
            else if (xml.name() == u"si")
                strings.append(current);
            break;
        default:
            break;
        }
    }
    return !xml.hasError();
}

} // namespace tramix
