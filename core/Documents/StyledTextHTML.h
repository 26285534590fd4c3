// Styled text as one self-contained HTML file: what a browser shows and what LibreOffice turns
// into an editable DOCX or RTF, headings as heading styles, lists as lists, page breaks kept.
#pragma once

#include "PDF/StyledText.h"

#include <QByteArray>
#include <QString>

namespace tramix::StyledTextHTML {

// UTF-8 HTML5 titled `title`, set in the text's body font; pictures embedded as data URLs.
QByteArray write(const StyledText& text, const QString& title);

} // namespace tramix::StyledTextHTML
