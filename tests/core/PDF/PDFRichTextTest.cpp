#include "Documents/StyledTextHTML.h"
#include "Image/ImageConverter.h"
#include "JobControl.h"
#include "PDF/PDFConverter.h"
#include "TestDocuments.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "TestPDFs.h"

#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;
using Kind = StyledBlock::Kind;

namespace {

const QString longParagraph =
    QStringLiteral("Dieser Absatz ist lang genug, um über mehrere Zeilen zu laufen, und enthält "
                   "ein <b>fettes Wort</b> sowie ein <i>kursives Wort</i> mitten im Satz. Die "
                   "Zeilen müssen wieder zu einem Absatz werden, wie ihn ein Mensch geschrieben "
                   "hat, ohne Umbrüche an den Zeilenenden und ohne verlorene Leerzeichen "
                   "zwischen den Wörtern.");

// A two-page report as an office program prints it.
QString officeReport(const TestFolder& dir) {
    saveImage(halves(160, 80, red, blue), dir.path("bild.png"));
    dir.file("Bericht.html",
             ("<html><head><meta charset=\"utf-8\"></head><body>"
              "<h1>Größere Überschrift</h1><p>" +
              longParagraph +
              "</p><h2>Zweite Ebene</h2>"
              "<ul><li>Erster Punkt</li><li>Zweiter Punkt mit Äpfeln</li></ul>"
              "<ol><li>Eins</li><li>Zwei</li></ol>"
              "<p><img src=\"bild.png\" width=\"200\" height=\"100\"></p>"
              "<p style=\"page-break-before: always\">Zweite Seite mit Text.</p></body></html>")
                 .toUtf8());
    return officeDocument(dir.path("Bericht.html"), "pdf");
}

QString plain(const QString& html) {
    return QString(html).remove(QRegularExpression("<[^>]*>"));
}

QStringList textsOf(const StyledText& text, Kind kind) {
    QStringList texts;
    for (const StyledBlock& block : text.blocks) {
        if (block.kind == kind)
            texts.append(block.text());
    }
    return texts;
}

// The HTML as Python's parser reads it: the title, then "tag: text [style]" for each block
// element, the text of inline elements given to the block they are in.
QStringList parsedHTML(const QString& html) {
    static const char* reader = R"(
import html.parser, sys
class Reader(html.parser.HTMLParser):
    def __init__(self):
        super().__init__(); self.items = []
    def handle_starttag(self, tag, attrs):
        attrs = dict(attrs)
        if tag in ('b', 'i'):
            return
        if tag == 'img':
            attrs['style'] = ''; text = attrs['src'].split(',')[0]
        else:
            text = ''
        self.items.append([tag, text, attrs.get('style', '')])
    def handle_data(self, data):
        if self.items: self.items[-1][1] += data
reader = Reader(); reader.feed(open(sys.argv[1], encoding='utf-8').read())
for tag, text, style in reader.items:
    if tag in ('title', 'h1', 'h2', 'h3', 'p', 'ul', 'ol', 'li', 'img'):
        print(' '.join([tag + ':'] + text.split() + (['[' + style + ']'] if style else [])))
)";
    TestFolder dir;
    const QString file = dir.file("parsed.html", html.toUtf8());
    return toolOutput("python3", {"-c", reader, file}).split('\n', Qt::SkipEmptyParts);
}

} // namespace

TEST(PDFRichText, ReadsAnOfficeDocumentBackWithItsStructure) {
    TestFolder dir;
    const QString pdf = officeReport(dir);
    QList<double> fractions;
    OutputContext context;
    context.fileProgress = [&](double fraction) { fractions.append(fraction); };
    const StyledText text = PDFConverter::attributedText(pdf, context);

    ASSERT_FALSE(text.blocks.isEmpty());
    EXPECT_EQ(text.blocks.first().kind, Kind::heading);
    EXPECT_EQ(text.blocks.first().level, 1);
    EXPECT_EQ(text.blocks.first().text(), "Größere Überschrift");
    EXPECT_EQ(textsOf(text, Kind::heading), QStringList({"Größere Überschrift", "Zweite Ebene"}));
    EXPECT_EQ(text.fontSize, 12);

    // The wrapped lines are one paragraph again, word for word.
    const QStringList paragraphs = textsOf(text, Kind::paragraph);
    ASSERT_EQ(paragraphs.size(), 2);
    EXPECT_EQ(paragraphs[0], plain(longParagraph));
    EXPECT_EQ(paragraphs[1], "Zweite Seite mit Text.");
    const QList<StyledRun> runs = text.blocks[1].runs;
    EXPECT_TRUE(runs.contains(StyledRun{"fettes Wort", true, false}));
    EXPECT_TRUE(runs.contains(StyledRun{"kursives Wort", false, true}));

    QStringList bullets, numbered;
    for (const StyledBlock& block : text.blocks) {
        if (block.kind == Kind::listItem)
            (block.ordered ? numbered : bullets).append(block.text());
    }
    EXPECT_EQ(bullets, QStringList({"Erster Punkt", "Zweiter Punkt mit Äpfeln"}));
    EXPECT_EQ(numbered, QStringList({"Eins", "Zwei"}));

    // Page one ends with the picture, page two starts after the break.
    ASSERT_GE(text.blocks.size(), 3);
    const StyledBlock& picture = text.blocks[text.blocks.size() - 3];
    EXPECT_EQ(picture.kind, Kind::image);
    EXPECT_EQ(text.blocks[text.blocks.size() - 2].kind, Kind::pageBreak);
    EXPECT_NEAR(picture.size.width() / picture.size.height(), 2, 0.05);
    EXPECT_TRUE(picture.mimeType == "image/png" || picture.mimeType == "image/jpeg");
    const vips::VImage decoded =
        vips::VImage::new_from_buffer(picture.image.constData(), size_t(picture.image.size()), "");
    EXPECT_NEAR(double(decoded.width()) / decoded.height(), 2, 0.05);
    EXPECT_TRUE(isNear(pixelAt(saveImage(decoded, dir.path("back.png")), 10, 40), red));

    ASSERT_FALSE(fractions.isEmpty());
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_DOUBLE_EQ(fractions.last(), 1);

    auto control = std::make_shared<JobControl>();
    control->cancel();
    context.control = control;
    EXPECT_EQ(errorOf([&] { PDFConverter::attributedText(pdf, context); }),
              errorOf([&] { control->throwIfCancelled(); }));
}

TEST(PDFRichText, JoinsHyphenatedWordsAndKeepsParagraphsApart) {
    TestFolder dir;
    const QString pdf = dir.file(
        "getrennt.pdf",
        textPDF({"Ein Wort am Zeilenende getrennt\nwird beim Lesen wieder zusam-\nmengesetzt, "
                 "aber echte Binde-\nStriche bleiben stehen.\n\nNach der Leerzeile beginnt "
                 "nun\nhier ein "
                 "neuer Absatz.\n- Ein Strich am Zeilenanfang\n- ist ein Listenpunkt",
                 "3"}));
    const StyledText text = PDFConverter::attributedText(pdf, {});
    EXPECT_EQ(textsOf(text, Kind::paragraph),
              QStringList({"Ein Wort am Zeilenende getrennt wird beim Lesen wieder "
                           "zusammengesetzt, aber echte Binde-Striche bleiben stehen.",
                           "Nach der Leerzeile beginnt nun hier ein neuer Absatz.", "3"}));
    EXPECT_EQ(textsOf(text, Kind::listItem),
              QStringList({"Ein Strich am Zeilenanfang", "ist ein Listenpunkt"}));
    EXPECT_EQ(text.fontFamily, "Helvetica");
}

TEST(PDFRichText, FallsBackToTextRecognitionForScans) {
    TestFolder dir;
    const QString scan = ImageConverter::makePDF(
        {saveImage(textImage("Gescannte Seite mit\neinem zweiten Satz", 200), dir.path("a.png"))},
        NameReservation(dir.path("scan.pdf")));
    const StyledText text = PDFConverter::attributedText(scan, {});
    EXPECT_EQ(text.fontFamily, "Helvetica");
    EXPECT_EQ(text.fontSize, 12);
    ASSERT_EQ(text.blocks.size(), 1);
    EXPECT_EQ(text.blocks[0].runs, QList<StyledRun>({{"Gescannte Seite mit einem zweiten Satz"}}));

    const QString blank = dir.file("leer.pdf", textPDF({""}));
    EXPECT_EQ(errorOf([&] { PDFConverter::attributedText(blank, {}); }),
              "Im PDF wurde kein Text gefunden.");
    const QString fake = dir.file("kaputt.pdf", "kein PDF");
    EXPECT_EQ(errorOf([&] { PDFConverter::attributedText(fake, {}); }),
              errorOf([&] { PDFConverter::toText(fake, {}); }));
    encrypt(dir.file("offen.pdf", textPDF({"Geheim"})), dir.path("zu.pdf"));
    EXPECT_EQ(errorOf([&] { PDFConverter::attributedText(dir.path("zu.pdf"), {}); }),
              "„zu.pdf“ ist passwortgeschützt.");
}

TEST(StyledTextHTML, WritesWhatBrowsersAndLibreOfficeReadBack) {
    TestFolder dir;
    const StyledText read = PDFConverter::attributedText(officeReport(dir), {});
    const QStringList seen = parsedHTML(StyledTextHTML::write(read, "Bericht <1> & \"2\""));
    const QString picture = read.blocks[read.blocks.size() - 3].mimeType;
    EXPECT_EQ(seen, QStringList({"title: Bericht <1> & \"2\"", "h1: Größere Überschrift",
                                 "p: " + plain(longParagraph), "h2: Zweite Ebene",
                                 "ul:", "li: Erster Punkt", "li: Zweiter Punkt mit Äpfeln", "ol:",
                                 "li: Eins", "li: Zwei", "p:", "img: data:" + picture + ";base64",
                                 "p: Zweite Seite mit Text. [page-break-before: always]"}));

    // Text that looks like markup stays text; LibreOffice keeps the page break and the list.
    StyledText made;
    made.blocks = {{.kind = Kind::paragraph, .runs = {{"a < b & <i>c</i>", true, true}}},
                   {.kind = Kind::pageBreak},
                   {.kind = Kind::listItem, .runs = {{"Punkt"}}}};
    const QString file = dir.file("made.html", StyledTextHTML::write(made, "made"));
    EXPECT_EQ(parsedHTML(readText(file)).mid(1),
              QStringList({"p: a < b & <i>c</i>", "ul: [page-break-before: always]", "li: Punkt"}));
    const QString pdf = officeDocument(file, "pdf");
    EXPECT_EQ(pageCountOf(pdf), 2);
    EXPECT_EQ(textOf(pdf).simplified(), "a < b & <i>c</i> • Punkt");
}
