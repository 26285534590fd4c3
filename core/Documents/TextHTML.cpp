#include "TextHTML.h"

#include "XMLText.h"

#include <QRegularExpression>

namespace tramix::TextHTML {

QString toHTML(const QString& text, const QString& title) {
    static const QRegularExpression blankLines(QStringLiteral("\\n[ \\t]*\\n\\s*"));
    QString normalised = text;
    normalised.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
    QString body;
    for (const QString& paragraph : normalised.split(blankLines, Qt::SkipEmptyParts)) {
        const QString lines =
            XMLText::escape(paragraph.trimmed()).replace(u'\n', QStringLiteral("<br>\n"));
        if (!lines.isEmpty())
            body += QStringLiteral("<p>") + lines + QStringLiteral("</p>\n");
    }
    return QStringLiteral("<!doctype html>\n<html><head><meta charset=\"utf-8\"><title>") +
           XMLText::escape(title) +
           QStringLiteral("</title>\n<style>body{font-family:sans-serif;font-size:12pt;"
                          "line-height:1.4}</style></head>\n<body>\n") +
           body + QStringLiteral("</body></html>\n");
}

} // namespace tramix::TextHTML
