// Text made safe for XML content and attribute values.
#pragma once

#include <QByteArrayView>
#include <QString>

namespace tramix::XMLText {

// Control characters but tab, line feed and carriage return dropped (XML 1.0 cannot carry them),
// then & < > " replaced by entities.
QString escape(const QString& text);
// Whether `escape` would change the UTF-8 text.
bool needsEscape(QByteArrayView utf8);

} // namespace tramix::XMLText
