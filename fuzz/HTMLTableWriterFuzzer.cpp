// Any grid written as HTML must be one table whose cells hold exactly the grid's texts, escaped:
// no text of a cell or of the title may open a tag of its own.
#include "GridBytes.h"
#include "Tables/HTMLTableWriter.h"

#include <QBuffer>

using namespace tramix;

namespace {

QString unescaped(QString text) {
    return text.replace(QStringLiteral("&lt;"), QStringLiteral("<"))
        .replace(QStringLiteral("&gt;"), QStringLiteral(">"))
        .replace(QStringLiteral("&amp;"), QStringLiteral("&"));
}

// The text from `at` up to `end`, which must follow; `at` moves past it.
QString until(const QString& html, qsizetype& at, const QString& end) {
    const qsizetype found = html.indexOf(end, at);
    FUZZ_CHECK(found >= 0, end + u'\n' + html);
    const QString text = html.mid(at, found - at);
    at = found + end.size();
    return text;
}

void expect(const QString& html, qsizetype& at, const QString& literal) {
    FUZZ_CHECK(QStringView(html).sliced(at).startsWith(literal), literal + u'\n' + html);
    at += literal.size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const TableGrid grid = fuzz::grid(data, size);
    const QString title = grid.isEmpty() || grid[0].isEmpty() ? QString() : grid[0][0];
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    HTMLTableWriter writer(out, QStringLiteral("fuzz.html"), title);
    for (const QStringList& row : grid)
        writer.row(TableRow::from(row));
    writer.finish();
    const QString html = QString::fromUtf8(out.data());

    qsizetype at = 0;
    until(html, at, QStringLiteral("<title>"));
    const QString writtenTitle = until(html, at, QStringLiteral("</title>"));
    FUZZ_CHECK(!writtenTitle.contains(u'<') && unescaped(writtenTitle) == title, html);
    until(html, at, QStringLiteral("<table>\n"));
    for (qsizetype r = 0; r < grid.size(); ++r) {
        const bool header = r == 0;
        const QString cell = header ? QStringLiteral("th") : QStringLiteral("td");
        expect(html, at, header ? QStringLiteral("<thead><tr>") : QStringLiteral("<tr>"));
        for (const QString& text : grid[r]) {
            expect(html, at, u'<' + cell + u'>');
            const QString written = until(html, at, QStringLiteral("</") + cell + u'>');
            FUZZ_CHECK(!written.contains(u'<') && unescaped(written) == text, html);
        }
        expect(html, at,
               header ? QStringLiteral("</tr></thead>\n<tbody>\n") : QStringLiteral("</tr>\n"));
    }
    if (!grid.isEmpty())
        expect(html, at, QStringLiteral("</tbody>"));
    expect(html, at, QStringLiteral("\n</table></body></html>"));
    FUZZ_CHECK(at == html.size(), html);
    return 0;
}
