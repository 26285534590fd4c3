#pragma once

#include <QList>
#include <QString>

namespace tramix {

// A document format that documents (and PDFs) are converted into.
struct DocumentFormat {
    QString ext;
    QString title;

    bool operator==(const DocumentFormat&) const = default;

    static const DocumentFormat docx, pdf, rtf, odt, html, txt;
    static const QList<DocumentFormat>& all();
};

} // namespace tramix
