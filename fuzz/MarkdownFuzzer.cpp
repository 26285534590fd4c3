// Markdown from anywhere becomes a document that cannot run anything: every tag in the body is
// one the writer makes, with its own attributes only, and every live address is a web, mail,
// relative or fragment one.
#include "Documents/Markdown.h"
#include "Documents/MarkdownBody.h"
#include "FuzzCheck.h"

#include <QRegularExpression>
#include <QSet>

using namespace tramix;

namespace {

const QSet<QString> tags = {
    QStringLiteral("p"),     QStringLiteral("h1"),         QStringLiteral("h2"),
    QStringLiteral("h3"),    QStringLiteral("h4"),         QStringLiteral("h5"),
    QStringLiteral("h6"),    QStringLiteral("ul"),         QStringLiteral("ol"),
    QStringLiteral("li"),    QStringLiteral("blockquote"), QStringLiteral("pre"),
    QStringLiteral("code"),  QStringLiteral("em"),         QStringLiteral("strong"),
    QStringLiteral("del"),   QStringLiteral("a"),          QStringLiteral("img"),
    QStringLiteral("table"), QStringLiteral("thead"),      QStringLiteral("tbody"),
    QStringLiteral("tr"),    QStringLiteral("th"),         QStringLiteral("td"),
    QStringLiteral("hr"),    QStringLiteral("br"),         QStringLiteral("input"),
};
const QSet<QString> attributes = {
    QStringLiteral("href"),    QStringLiteral("src"),   QStringLiteral("alt"),
    QStringLiteral("title"),   QStringLiteral("class"), QStringLiteral("style"),
    QStringLiteral("start"),   QStringLiteral("type"),  QStringLiteral("disabled"),
    QStringLiteral("checked"),
};

bool isNameChar(QChar c) {
    return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9');
}

// An address is live only for these schemes, or without a scheme at all.
bool safeAddress(QString address) {
    address.replace(QStringLiteral("&quot;"), QStringLiteral("\""))
        .replace(QStringLiteral("&lt;"), QStringLiteral("<"))
        .replace(QStringLiteral("&gt;"), QStringLiteral(">"))
        .replace(QStringLiteral("&amp;"), QStringLiteral("&"));
    const qsizetype colon = address.indexOf(u':');
    if (colon < 0)
        return true;
    // Browsers drop leading blanks and controls, and tabs and line breaks anywhere.
    const QString scheme =
        address.first(colon).remove(u'\t').remove(u'\n').remove(u'\r').trimmed().toLower();
    static const QRegularExpression syntax(QStringLiteral("^[a-z][a-z0-9+.-]*$"));
    if (!syntax.match(scheme).hasMatch())
        return true;
    return scheme == u"http" || scheme == u"https" || scheme == u"mailto";
}

void checkBody(const QString& html, const QString& markdown) {
    const QString context = markdown + QStringLiteral("\n---\n") + html;
    for (qsizetype at = html.indexOf(u'<'); at >= 0; at = html.indexOf(u'<', at)) {
        qsizetype i = at + 1;
        if (i < html.size() && html[i] == u'/')
            ++i;
        const qsizetype nameStart = i;
        while (i < html.size() && isNameChar(html[i]))
            ++i;
        FUZZ_CHECK(tags.contains(html.mid(nameStart, i - nameStart)), context);
        // Attributes: ` name`, ` name="value"` with no quote inside the value, then `>` or ` />`.
        while (i < html.size() && html[i] == u' ') {
            ++i;
            if (html.sliced(i).startsWith(u"/>"))
                break;
            const qsizetype attributeStart = i;
            while (i < html.size() && (isNameChar(html[i]) || html[i] == u'-'))
                ++i;
            const QString attribute = html.mid(attributeStart, i - attributeStart);
            FUZZ_CHECK(attributes.contains(attribute), context);
            if (i < html.size() && html[i] == u'=') {
                FUZZ_CHECK(i + 1 < html.size() && html[i + 1] == u'"', context);
                const qsizetype end = html.indexOf(u'"', i + 2);
                FUZZ_CHECK(end > 0, context);
                const QString value = html.mid(i + 2, end - i - 2);
                FUZZ_CHECK(!value.contains(u'<') && !value.contains(u'>'), context);
                if (attribute == u"href" || attribute == u"src")
                    FUZZ_CHECK(safeAddress(value), context);
                i = end + 1;
            }
        }
        if (html.sliced(i).startsWith(u"/>"))
            ++i;
        FUZZ_CHECK(i < html.size() && html[i] == u'>', context);
        at = i + 1;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString markdown = fuzz::text(data, size);
    const QString body = MarkdownBody::toHTML(markdown);
    FUZZ_CHECK(markdown.trimmed().isEmpty() || body.isEmpty() || body.endsWith(u'\n'), body);
    checkBody(body, markdown);
    const QString document = Markdown::toHTML(markdown, markdown.left(40));
    FUZZ_CHECK(document.contains(body), document);
    return 0;
}
