#include "WorkbookProperties.h"

#include <QXmlStreamReader>

namespace tramix {

bool WorkbookProperties::parse(QIODevice& device) {
    QXmlStreamReader xml(&device);
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (xml.name() == u"workbookPr") {
                const QStringView value = xml.attributes().value(QLatin1String("date1904"));
                date1904 = value == u"1" || value.compare(u"true", Qt::CaseInsensitive) == 0;
            }
            break;
        case QXmlStreamReader::DTD:
            xml.raiseError(QStringLiteral("DTD"));
            break;
        default:
            break;
        }
    }
    return !xml.hasError();
}

} // namespace tramix
