#include "StyledTextHTML.h"

#include "XMLText.h"

#include <QRegularExpression>

namespace tramix::StyledTextHTML {

namespace {

using Kind = StyledBlock::Kind;

// A CSS font list: the family as the PDF names it, then the generic family it looks like, for
// systems that lack it.
QString fontList(const QString& family) {
    static const QRegularExpression unsafe(QStringLiteral("[^\\w -]"),
                                           QRegularExpression::UseUnicodePropertiesOption);
    static const QRegularExpression mono(QStringLiteral("mono|courier|consol|code"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression serif(
        QStringLiteral("(?<!sans )serif|times|roman|georgia|cambria|garamond|minion|book|"
                       "palatino|charter|cm|nimbus rom"),
        QRegularExpression::CaseInsensitiveOption);
    const QString name = QString(family).remove(unsafe).trimmed();
    const QString generic = mono.match(name).hasMatch()    ? QStringLiteral("monospace")
                            : serif.match(name).hasMatch() ? QStringLiteral("serif")
                                                           : QStringLiteral("sans-serif");
    return name.isEmpty() ? generic : u'"' + name + QStringLiteral("\", ") + generic;
}

QString points(double value) {
    return QString::number(value, 'f', 2).remove(QRegularExpression(QStringLiteral("\\.?0+$")));
}

QString runsHTML(const QList<StyledRun>& runs, bool boldByStyle) {
    QString html;
    for (const StyledRun& run : runs) {
        QString text = XMLText::escape(run.text);
        if (run.italic)
            text = QStringLiteral("<i>") + text + QStringLiteral("</i>");
        if (run.bold && !boldByStyle)
            text = QStringLiteral("<b>") + text + QStringLiteral("</b>");
        html += text;
    }
    return html;
}

bool allBold(const QList<StyledRun>& runs) {
    return std::all_of(runs.begin(), runs.end(), [](const StyledRun& run) {
        return run.bold || run.text.trimmed().isEmpty();
    });
}

// The opening tag, with the page break before it when one is due.
QString opening(const QString& tag, bool& pageBreak, const QString& attributes = {}) {
    QString html = u'<' + tag + attributes;
    if (pageBreak)
        html += QStringLiteral(" style=\"page-break-before: always\"");
    pageBreak = false;
    return html + u'>';
}

} // namespace

QByteArray write(const StyledText& text, const QString& title) {
    QString html = QStringLiteral("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n"
                                  "<title>") +
                   XMLText::escape(title) +
                   QStringLiteral("</title>\n<style>\nbody { font-family: %1; font-size: %2pt; "
                                  "line-height: 1.3; }\nimg { max-width: 100%; }\n</style>\n"
                                  "</head>\n<body>\n")
                       .arg(fontList(text.fontFamily), points(text.fontSize));
    bool pageBreak = false;
    QString openList;   // "ul" or "ol" while a list is open
    int listNumber = 0; // the items of the numbered list so far, counted on over page breaks
    auto closeList = [&] {
        if (!openList.isEmpty())
            html += QStringLiteral("</") + openList + QStringLiteral(">\n");
        openList.clear();
    };
    for (qsizetype i = 0; i < text.blocks.size(); ++i) {
        const StyledBlock& block = text.blocks[i];
        if (block.kind != Kind::listItem && block.kind != Kind::pageBreak)
            listNumber = 0;
        if (block.kind != Kind::listItem)
            closeList();
        switch (block.kind) {
        case Kind::pageBreak:
            pageBreak = !html.endsWith(QStringLiteral("<body>\n"));
            break;
        case Kind::paragraph:
            html += opening(QStringLiteral("p"), pageBreak) + runsHTML(block.runs, false) +
                    QStringLiteral("</p>\n");
            break;
        case Kind::heading: {
            const QString tag = QStringLiteral("h%1").arg(std::clamp(block.level, 1, 3));
            html += opening(tag, pageBreak) + runsHTML(block.runs, allBold(block.runs)) +
                    QStringLiteral("</") + tag + QStringLiteral(">\n");
            break;
        }
        case Kind::listItem: {
            const QString tag = block.ordered ? QStringLiteral("ol") : QStringLiteral("ul");
            if (openList != tag || pageBreak) {
                if (openList != tag && !(pageBreak && tag == QStringLiteral("ol")))
                    listNumber = 0;
                closeList();
                const QString start = listNumber > 0
                                          ? QStringLiteral(" start=\"%1\"").arg(listNumber + 1)
                                          : QString();
                html += opening(tag, pageBreak, start) + u'\n';
                openList = tag;
            }
            if (block.ordered)
                ++listNumber;
            html +=
                QStringLiteral("<li>") + runsHTML(block.runs, false) + QStringLiteral("</li>\n");
            break;
        }
        case Kind::image:
            if (block.image.isEmpty())
                break;
            html +=
                opening(QStringLiteral("p"), pageBreak) +
                QStringLiteral("<img src=\"data:%1;base64,%2\" style=\"width:%3pt;height:%4pt\" "
                               "alt=\"\"></p>\n")
                    .arg(XMLText::escape(block.mimeType),
                         QString::fromLatin1(block.image.toBase64()), points(block.size.width()),
                         points(block.size.height()));
            break;
        }
    }
    closeList();
    html += QStringLiteral("</body>\n</html>\n");
    return html.toUtf8();
}

} // namespace tramix::StyledTextHTML
