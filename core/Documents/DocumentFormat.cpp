#include "DocumentFormat.h"

namespace tramix {

const DocumentFormat DocumentFormat::docx{"docx", "DOCX"};
const DocumentFormat DocumentFormat::pdf{"pdf", "PDF"};
const DocumentFormat DocumentFormat::rtf{"rtf", "RTF"};
const DocumentFormat DocumentFormat::odt{"odt", "ODT"};
const DocumentFormat DocumentFormat::html{"html", "HTML"};
const DocumentFormat DocumentFormat::txt{"txt", "TXT"};

const QList<DocumentFormat>& DocumentFormat::all() {
    static const QList<DocumentFormat> formats = {docx, pdf, rtf, odt, html, txt};
    return formats;
}

} // namespace tramix
