#include "Markdown.h"

#include "MarkdownBody.h"

namespace tramix::Markdown {

namespace {

const QString headTemplate =
    QStringLiteral("<!doctype html>\n<html><head><meta charset=\"utf-8\"><title>");

const QString styleTemplate = QStringLiteral(
    "</title>\n<style>body{font-family:-apple-system,Helvetica,sans-serif;font-size:12pt;"
    "line-height:1.5;max-width:42em;margin:2em auto;color:#1d1d1f}\n"
    "code,pre{font-family:Menlo,monospace;font-size:10.5pt;background:#f4f4f2}"
    "pre{padding:.8em;border-radius:6px}\n"
    "blockquote{color:#6e6e73;border-left:3px solid #f2581f;margin-left:0;padding-left:1em}\n"
    "table{border-collapse:collapse}th,td{border:1px solid #e3e3e0;padding:6px 10px;"
    "text-align:left}th{background:#f4f4f2}\n"
    "li.task{list-style:none}li.task input{margin:0 .5em 0 -1.4em;accent-color:#f2581f}"
    "img{max-width:100%}</style></head>\n<body>\n");

QString escaped(QString text) {
    return text.replace(u'&', QStringLiteral("&amp;"))
        .replace(u'<', QStringLiteral("&lt;"))
        .replace(u'>', QStringLiteral("&gt;"));
}

} // namespace

QString toHTML(const QString& markdown, const QString& title) {
    QString body = MarkdownBody::toHTML(markdown);
    if (body.endsWith(u'\n'))
        body.chop(1);
    return headTemplate + escaped(title) + styleTemplate + body +
           QStringLiteral("\n</body></html>");
}

} // namespace tramix::Markdown
