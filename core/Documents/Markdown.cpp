#include "Markdown.h"

#include <QList>
#include <QRegularExpression>
#include <QStringList>

namespace tramix::Markdown {

namespace {

const QString headTemplate =
    QStringLiteral("<!doctype html>\n<html><head><meta charset=\"utf-8\"><title>");

const QString styleTemplate = QStringLiteral(
    "</title>\n<style>body{font-family:-apple-system,Helvetica,sans-serif;font-size:12pt;"
    "line-height:1.5;max-width:42em;margin:2em auto;color:#1d1d1f}\n"
    "code,pre{font-family:Menlo,monospace;font-size:10.5pt;background:#f4f4f2}"
    "pre{padding:.8em;border-radius:6px}\n"
    "blockquote{color:#6e6e73;border-left:3px solid #f2581f;margin-left:0;padding-left:1em}"
    "</style></head>\n<body>\n");

QString escaped(QString text) {
    return text.replace(u'&', QStringLiteral("&amp;"))
        .replace(u'<', QStringLiteral("&lt;"))
        .replace(u'>', QStringLiteral("&gt;"));
}

bool isBlank(QChar c) {
    return c == u'\t' || c.category() == QChar::Separator_Space;
}

QString trimmedBlanks(const QString& line) {
    qsizetype start = 0;
    qsizetype end = line.size();
    while (start < end && isBlank(line[start]))
        ++start;
    while (end > start && isBlank(line[end - 1]))
        --end;
    return line.mid(start, end - start);
}

bool isLineBreak(QChar c) {
    switch (c.unicode()) {
    case 0x0A: // line feed
    case 0x0B: // line tabulation
    case 0x0C: // form feed
    case 0x0D: // carriage return
    case 0x85: // next line
    case 0x2028:
    case 0x2029:
        return true;
    default:
        return false;
    }
}

// Every break character ends a line of its own, so CR LF leaves an empty line between.
QStringList splitLines(const QString& text) {
    QStringList lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isLineBreak(text[i])) {
            lines.append(text.mid(start, i - start));
            start = i + 1;
        }
    }
    lines.append(text.mid(start));
    return lines;
}

struct Substitution {
    QRegularExpression pattern;
    QString replacement;
};

const QList<Substitution>& substitutions() {
    // \w must know letters beyond ASCII, or "für_x_" would be read as emphasis.
    const auto options = QRegularExpression::UseUnicodePropertiesOption;
    static const QList<Substitution> list = {
        {QRegularExpression(QStringLiteral("`([^`]+)`"), options),
         QStringLiteral("<code>\\1</code>")},
        {QRegularExpression(QStringLiteral("!\\[([^\\]]*)\\]\\(([^)]+)\\)"), options),
         QStringLiteral("<img alt=\"\\1\" src=\"\\2\">")},
        {QRegularExpression(QStringLiteral("\\[([^\\]]+)\\]\\(([^)]+)\\)"), options),
         QStringLiteral("<a href=\"\\2\">\\1</a>")},
        {QRegularExpression(QStringLiteral("\\*\\*([^*]+)\\*\\*"), options),
         QStringLiteral("<strong>\\1</strong>")},
        {QRegularExpression(QStringLiteral("__([^_]+)__"), options),
         QStringLiteral("<strong>\\1</strong>")},
        {QRegularExpression(QStringLiteral("\\*([^*]+)\\*"), options),
         QStringLiteral("<em>\\1</em>")},
        {QRegularExpression(QStringLiteral("(?<![\\w])_([^_]+)_(?![\\w])"), options),
         QStringLiteral("<em>\\1</em>")},
        {QRegularExpression(QStringLiteral("~~([^~]+)~~"), options),
         QStringLiteral("<del>\\1</del>")},
    };
    return list;
}

// The block pass: output blocks, the paragraph being gathered, the open list and the fence.
class Blocks {
public:
    void add(const QString& line) {
        const QString trimmed = trimmedBlanks(line);
        if (trimmed.startsWith(u"```")) {
            flushParagraph();
            closeList();
            blocks_.append(inCode_ ? QStringLiteral("</code></pre>")
                                   : QStringLiteral("<pre><code>"));
            inCode_ = !inCode_;
        } else if (inCode_) {
            blocks_.append(escaped(line));
        } else if (trimmed.isEmpty()) {
            flushParagraph();
            closeList();
        } else if (const std::optional<int> level = headingLevel(trimmed)) {
            addHeading(*level, trimmed);
        } else if (trimmed == u"---" || trimmed == u"***" || trimmed == u"___") {
            flushParagraph();
            closeList();
            blocks_.append(QStringLiteral("<hr>"));
        } else if (trimmed.startsWith(u'>')) {
            flushParagraph();
            closeList();
            blocks_.append(QStringLiteral("<blockquote>%1</blockquote>")
                               .arg(inlineHTML(trimmedBlanks(trimmed.mid(1)))));
        } else if (const std::optional<ListItem> item = listItem(trimmed)) {
            addListItem(*item);
        } else {
            closeList();
            paragraph_.append(trimmed);
        }
    }

    QStringList finish() {
        if (inCode_)
            blocks_.append(QStringLiteral("</code></pre>"));
        flushParagraph();
        closeList();
        return blocks_;
    }

private:
    void addHeading(int level, const QString& trimmed) {
        flushParagraph();
        closeList();
        const QString text = inlineHTML(trimmedBlanks(trimmed.mid(level)));
        blocks_.append(QStringLiteral("<h%1>%2</h%1>").arg(level).arg(text));
    }

    void addListItem(const ListItem& item) {
        flushParagraph();
        if (openList_ != item.tag) {
            closeList();
            blocks_.append(u'<' + item.tag + u'>');
            openList_ = item.tag;
        }
        blocks_.append(QStringLiteral("<li>%1</li>").arg(inlineHTML(item.text)));
    }

    void flushParagraph() {
        if (paragraph_.isEmpty())
            return;
        blocks_.append(QStringLiteral("<p>%1</p>").arg(inlineHTML(paragraph_.join(u' '))));
        paragraph_.clear();
    }

    void closeList() {
        if (openList_.isEmpty())
            return;
        blocks_.append(QStringLiteral("</%1>").arg(openList_));
        openList_.clear();
    }

    QStringList blocks_;
    QStringList paragraph_;
    QString openList_;
    bool inCode_ = false;
};

} // namespace

QString toHTML(const QString& markdown, const QString& title) {
    Blocks blocks;
    for (const QString& line : splitLines(markdown))
        blocks.add(line);
    return headTemplate + escaped(title) + styleTemplate + blocks.finish().join(u'\n') +
           QStringLiteral("\n</body></html>");
}

QString inlineHTML(const QString& text) {
    QString html = escaped(text);
    for (const Substitution& substitution : substitutions())
        html.replace(substitution.pattern, substitution.replacement);
    return html;
}

std::optional<int> headingLevel(const QString& trimmed) {
    qsizetype hashes = 0;
    while (hashes < trimmed.size() && trimmed[hashes] == u'#')
        ++hashes;
    if (hashes < 1 || hashes > 6 || hashes >= trimmed.size() || trimmed[hashes] != u' ')
        return std::nullopt;
    return int(hashes);
}

std::optional<ListItem> listItem(const QString& trimmed) {
    for (const char16_t* marker : {u"- ", u"* ", u"+ "}) {
        if (trimmed.startsWith(QStringView(marker)))
            return ListItem{QStringLiteral("ul"), trimmed.mid(2)};
    }
    const qsizetype dot = trimmed.indexOf(u'.');
    if (dot <= 0 || dot + 1 >= trimmed.size() || trimmed[dot + 1] != u' ')
        return std::nullopt;
    for (const char32_t c : QStringView(trimmed).left(dot).toUcs4()) {
        if (!QChar::isNumber(c))
            return std::nullopt;
    }
    return ListItem{QStringLiteral("ol"), trimmed.mid(dot + 2)};
}

} // namespace tramix::Markdown
