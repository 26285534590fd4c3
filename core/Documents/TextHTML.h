// Plain text as an HTML document: paragraphs where the text has blank lines, line breaks kept.
#pragma once

#include <QString>

namespace tramix::TextHTML {

QString toHTML(const QString& text, const QString& title);

} // namespace tramix::TextHTML
