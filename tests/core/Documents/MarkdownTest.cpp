#include "Documents/Markdown.h"

#include "Documents/DocumentConverter.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

using namespace tramix;

namespace {

// The blocks between "<body>\n" and "\n</body></html>".
QString body(const QString& markdown) {
    const QString html = Markdown::toHTML(markdown, QStringLiteral("t"));
    const qsizetype start = html.indexOf(QStringLiteral("<body>\n")) + 7;
    const qsizetype end = html.lastIndexOf(QStringLiteral("\n</body></html>"));
    return html.mid(start, end - start);
}

} // namespace

TEST(Markdown, HeadingsRulesAndQuotesEndParagraphs) {
    EXPECT_EQ(Markdown::headingLevel("# Eins"), 1);
    EXPECT_EQ(Markdown::headingLevel("###### Sechs"), 6);
    for (const char* notHeading : {"#Titel", "####### x", "#", "##", "#\tx", "x # y"})
        EXPECT_EQ(Markdown::headingLevel(notHeading), std::nullopt) << notHeading;

    EXPECT_EQ(body("  ## Zwei ##  \nerste\n  zweite Zeile\t\n\n#Titel\n---\n***\n___\n"
                   "> Zitat *eins*\n>zwei\nEnde"),
              "<h2>Zwei ##</h2>\n<p>erste zweite Zeile</p>\n<p>#Titel</p>\n<hr>\n<hr>\n<hr>\n"
              "<blockquote>Zitat <em>eins</em></blockquote>\n<blockquote>zwei</blockquote>\n"
              "<p>Ende</p>");
    // Every break character counts on its own: CR LF leaves an empty line that ends a paragraph.
    EXPECT_EQ(body("eins\r\nzwei\rdrei\u2028vier"), "<p>eins</p>\n<p>zwei drei vier</p>");
}

TEST(Markdown, ListsSwitchKindAndCloseBeforeOtherBlocks) {
    using Item = Markdown::ListItem;
    EXPECT_EQ(Markdown::listItem("- a"), (Item{"ul", "a"}));
    EXPECT_EQ(Markdown::listItem("+ b"), (Item{"ul", "b"}));
    EXPECT_EQ(Markdown::listItem("* * *"), (Item{"ul", "* *"}));
    EXPECT_EQ(Markdown::listItem("12. Schritt"), (Item{"ol", "Schritt"}));
    EXPECT_EQ(Markdown::listItem(QString::fromUtf8("٣. arabisch")), (Item{"ol", "arabisch"}));
    for (const char* plain : {"1.5 kg", "1.", ". x", "a. b", "-a", "1) x"})
        EXPECT_EQ(Markdown::listItem(plain), std::nullopt) << plain;

    EXPECT_EQ(body("- eins\n* zwei\n3. drei\n1. vier\ndanach\n- fünf\n\n- sechs\n# Kopf"),
              QString::fromUtf8("<ul>\n<li>eins</li>\n<li>zwei</li>\n</ul>\n<ol>\n<li>drei</li>\n"
                                "<li>vier</li>\n</ol>\n<p>danach</p>\n<ul>\n<li>fünf</li>\n</ul>\n"
                                "<ul>\n<li>sechs</li>\n</ul>\n<h1>Kopf</h1>"));
    // A paragraph line gathered before a list item is flushed first.
    EXPECT_EQ(body("Text\n- a"), "<p>Text</p>\n<ul>\n<li>a</li>\n</ul>");
}

TEST(Markdown, CodeFencesKeepTheirLinesEscapedAndCloseAtTheEnd) {
    EXPECT_EQ(body("vorher\n```cpp\n  if (a < b && *p) {}\n# kein Kopf\n```\n- x\n```\noffen <b>"),
              "<p>vorher</p>\n<pre><code>\n  if (a &lt; b &amp;&amp; *p) {}\n# kein Kopf\n"
              "</code></pre>\n<ul>\n<li>x</li>\n</ul>\n<pre><code>\noffen &lt;b&gt;\n"
              "</code></pre>");
}

TEST(Markdown, InlineMarkupAppliesItsSubstitutionsInOrder) {
    const std::pair<const char*, const char*> cases[] = {
        {"a `code` b", "a <code>code</code> b"},
        {"![Logo](bild.png) und [Seite](https://x.de/?a=1&b=2)",
         "<img alt=\"Logo\" src=\"bild.png\"> und <a href=\"https://x.de/?a=1&amp;b=2\">Seite</a>"},
        {"![](leer.png)", "<img alt=\"\" src=\"leer.png\">"},
        {"**fett** __auch__ *schräg* _ebenso_ ~~weg~~",
         "<strong>fett</strong> <strong>auch</strong> <em>schräg</em> <em>ebenso</em> "
         "<del>weg</del>"},
        // "*" needs no word boundary, "_" does: snake_case stays as it is.
        {"Wort*innen* und snake_case_name und für_x_", "Wort<em>innen</em> und snake_case_name und "
                                                       "für_x_"},
        // Later substitutions still reach into code spans.
        {"`*x*`", "<code><em>x</em></code>"},
        {"<script>alert(1)</script> & \"q\"", "&lt;script&gt;alert(1)&lt;/script&gt; &amp; \"q\""},
        {"**offen", "**offen"},
        // Captured text is inserted as it is, never read as a group reference.
        {"`\\1 $1 %1`", "<code>\\1 $1 %1</code>"},
    };
    for (const auto& [markdown, html] : cases)
        EXPECT_EQ(Markdown::inlineHTML(QString::fromUtf8(markdown)), QString::fromUtf8(html))
            << markdown;
    EXPECT_EQ(body("# <b>Titel</b> *x*"), "<h1>&lt;b&gt;Titel&lt;/b&gt; <em>x</em></h1>");
}

TEST(Markdown, DocumentConverterWritesMarkdownFilesAsHTMLOnly) {
    test::TestFolder folder;
    const auto convert = [](const QString& input, const DocumentFormat& format) {
        return DocumentConverter::convert(input, format, {});
    };
    const QString notes = folder.file("Notizen & Ideen.md", "# Plan\n\n- **los**\n");
    const QString html = convert(notes, DocumentFormat::html);
    EXPECT_EQ(html, folder.path("Notizen & Ideen.html"));
    EXPECT_EQ(test::readText(html), Markdown::toHTML("# Plan\n\n- **los**\n", "Notizen & Ideen"));
    EXPECT_TRUE(test::readText(html).contains("<title>Notizen &amp; Ideen</title>"));
    // Never overwritten: a second run takes the next free name.
    EXPECT_EQ(convert(notes, DocumentFormat::html), folder.path("Notizen & Ideen 2.html"));

    // Text that is not UTF-8 is read as Latin-1; a BOM is not part of the text.
    const QString latin = folder.file("alt.markdown", "Gr\xfc\xdf"
                                                      "e");
    EXPECT_TRUE(test::readText(convert(latin, DocumentFormat::html)).contains("<p>Grüße</p>"));
    const QString bom = folder.file("bom.md", "\xef\xbb\xbf# Kopf");
    EXPECT_TRUE(test::readText(convert(bom, DocumentFormat::html))
                    .contains("<body>\n<h1>Kopf</h1>\n</body>"));

    const auto failure = [&](const QString& input, const DocumentFormat& format) {
        return test::errorOf([&] { convert(input, format); });
    };
    EXPECT_EQ(failure(folder.path("fehlt.md"), DocumentFormat::html),
              "„fehlt.md“ konnte nicht gelesen werden.");
    EXPECT_EQ(failure(notes, DocumentFormat::pdf), "Nicht unterstützt: Dokumentumwandlung in PDF");
    EXPECT_EQ(failure(folder.file("brief.txt", "x"), DocumentFormat::html),
              "Nicht unterstützt: Dokumentumwandlung in HTML");
    EXPECT_EQ(folder.names(),
              QStringList({"Notizen & Ideen 2.html", "Notizen & Ideen.html", "Notizen & Ideen.md",
                           "alt.html", "alt.markdown", "bom.html", "bom.md", "brief.txt"}));
}
