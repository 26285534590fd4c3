#include "XMLText.h"

namespace tramix::XMLText {

QString escape(const QString& text) {
    QString kept;
    kept.reserve(text.size());
    for (const QChar c : text) {
        if (c.unicode() >= 0x20 || c == u'\t' || c == u'\n' || c == u'\r')
            kept.append(c);
    }
    kept.replace(u'&', QStringLiteral("&amp;"));
    kept.replace(u'<', QStringLiteral("&lt;"));
    kept.replace(u'>', QStringLiteral("&gt;"));
    kept.replace(u'"', QStringLiteral("&quot;"));
    return kept;
}

bool needsEscape(QByteArrayView utf8) {
    for (const char byte : utf8) {
        const auto value = static_cast<unsigned char>(byte);
        if (value == '&' || value == '<' || value == '>' || value == '"' ||
            (value < 0x20 && value != '\t' && value != '\n' && value != '\r'))
            return true;
    }
    return false;
}

} // namespace tramix::XMLText
