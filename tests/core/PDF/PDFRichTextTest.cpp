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
              "</p><h2>1. Zweite Ebene</h2>"
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
    EXPECT_EQ(textsOf(text, Kind::heading),
              QStringList({"Größere Überschrift", "1. Zweite Ebene"}));
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

TEST(PDFRichText, JoinsLinesAndLeavesRunningHeadsOut) {
    // Pages as a word processor prints them: a running head and a page number in the margins,
    // the body in 12-point Helvetica, the bullets of a list drawn apart from their items.
    auto page = [](const QByteArray& body, const QByteArray& bullets, int number) {
        return "BT /F1 9 Tf 72 806 Td (Jahresbericht 2024) Tj ET "
               "BT /F1 12 Tf 72 700 Td 15 TL " +
               body + " ET " + bullets + "BT /F1 9 Tf 290 40 Td (- " + QByteArray::number(number) +
               " -) Tj ET";
    };
    const QByteArray first =
        page("(Ein Wort am Zeilenende getrennt wird beim Lesen wieder zusam-) Tj T* "
             "(mengesetzt, aber echte Bindestriche wie in der E-Mail-) Tj T* "
             "(Adresse bleiben stehen, so wie auf dem Papier.) Tj T* T* "
             "(Nach der Leerzeile beginnt ein neuer Absatz, der hier endet.) Tj T* "
             "(\\225 Ein Punkt beginnt einen neuen Listenpunkt, der auf der) Tj T* "
             "(   folgenden Zeile weitergeht.) Tj T* (2. Diese Zahl beginnt keine Liste) Tj T* T* "
             "(85 \\200) Tj",
             "", 1);
    const QByteArray second = page("0 -15 Td (Ein Punkt vor dem Text) Tj T* (und noch einer) Tj",
                                   "BT /F1 12 Tf 50 685 Td (\\225) Tj 0 -15 Td (\\225) Tj ET ", 2);
    const QByteArray font = "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica "
                            "/Encoding /WinAnsiEncoding >>";
    TestFolder dir;
    const QString pdf = dir.file(
        "Bericht.pdf",
        pdfOf({"<< /Type /Catalog /Pages 2 0 R >>",
               "<< /Type /Pages /Kids [3 0 R 5 0 R] /Count 2 >>",
               "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /Font << /F1 7 "
               "0 R >> >> /Contents 4 0 R >>",
               streamObject({}, first),
               "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /Font << /F1 7 "
               "0 R >> >> /Contents 6 0 R >>",
               streamObject({}, second), font}));
    const StyledText text = PDFConverter::attributedText(pdf, {});
    QStringList blocks;
    for (const StyledBlock& block : text.blocks)
        blocks.append(QString::number(int(block.kind)) + " " + block.text());
    EXPECT_EQ(blocks, QStringList({"0 Ein Wort am Zeilenende getrennt wird beim Lesen wieder "
                                   "zusammengesetzt, aber echte Bindestriche wie in der "
                                   "E-Mail-Adresse bleiben stehen, so wie auf dem Papier.",
                                   "0 Nach der Leerzeile beginnt ein neuer Absatz, der hier endet.",
                                   "2 Ein Punkt beginnt einen neuen Listenpunkt, der auf der "
                                   "folgenden Zeile weitergeht.",
                                   "0 2. Diese Zahl beginnt keine Liste", "0 85 €", "3 ",
                                   "2 Ein Punkt vor dem Text", "2 und noch einer"}));
    EXPECT_EQ(text.fontFamily, "Helvetica");
}

TEST(PDFRichText, TellsBoldAndItalicFromTheFontNames) {
    // Names as Word, InDesign, LibreOffice and TeX write them; poppler stands in for the fonts.
    const QList<QByteArray> names{"Arial,BoldItalic",
                                  "TimesNewRomanPS-ItalicMT",
                                  "ABCDEF+MinionPro-SemiboldIt",
                                  "CMBX10",
                                  "CMTI10",
                                  "Helvetica-Oblique",
                                  "Arial-BlackMT",
                                  "Italianno-Regular"};
    QByteArray content = "BT 12 TL 72 700 Td ", fonts;
    for (qsizetype i = 0; i < names.size(); ++i) {
        content += "/F" + QByteArray::number(i) + " 12 Tf (Wort" + QByteArray::number(i) + " ) Tj ";
        fonts += "/F" + QByteArray::number(i) + " " + QByteArray::number(4 + i) + " 0 R ";
    }
    QList<QByteArray> objects{
        "<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << "
        "/Font << " +
            fonts + ">> >> /Contents " + QByteArray::number(4 + names.size()) + " 0 R >>"};
    for (const QByteArray& name : names)
        objects.append("<< /Type /Font /Subtype /Type1 /BaseFont /" + name + " >>");
    objects.append(streamObject({}, content + "ET"));
    TestFolder dir;
    const StyledText text =
        PDFConverter::attributedText(dir.file("Schriften.pdf", pdfOf(objects)), {});
    ASSERT_EQ(text.blocks.size(), 1);
    QStringList styles;
    for (const StyledRun& run : text.blocks[0].runs) {
        for (const QString& word : run.text.split(' ', Qt::SkipEmptyParts))
            styles.append(word + (run.bold ? " fett" : "") + (run.italic ? " kursiv" : ""));
    }
    EXPECT_EQ(styles,
              QStringList({"Wort0 fett kursiv", "Wort1 kursiv", "Wort2 fett kursiv", "Wort3 fett",
                           "Wort4 kursiv", "Wort5 kursiv", "Wort6 fett", "Wort7"}));
}

TEST(PDFRichText, PlacesPicturesOfTurnedPagesBetweenTheirLines) {
    // A page shown turned by a quarter, its text upright in the page's own space, and between
    // two lines a palette picture, left half red and right half blue.
    QByteArray indexes;
    for (int row = 0; row < 20; ++row)
        indexes += QByteArray(20, '\0') + QByteArray(20, '\1');
    TestFolder dir;
    const QString pdf = dir.file(
        "quer.pdf",
        pdfOf(
            {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
             "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Rotate 90 /Resources << "
             "/Font << /F1 5 0 R >> /XObject << /Im 6 0 R >> >> /Contents 4 0 R >>",
             streamObject({}, "BT /F1 12 Tf 72 760 Td (Oben) Tj ET q 200 0 0 100 72 600 cm /Im "
                              "Do Q BT /F1 12 Tf 72 560 Td (Unten) Tj ET"),
             "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
             streamObject("/Type /XObject /Subtype /Image /Width 40 /Height 20 "
                          "/BitsPerComponent 8 /ColorSpace [/Indexed /DeviceRGB 1 <FF00000000FF>]",
                          indexes)}));
    const StyledText text = PDFConverter::attributedText(pdf, {});
    ASSERT_EQ(text.blocks.size(), 3);
    EXPECT_EQ(text.blocks[0].text(), "Oben");
    EXPECT_EQ(text.blocks[2].text(), "Unten");
    const StyledBlock& picture = text.blocks[1];
    ASSERT_EQ(picture.kind, Kind::image);
    EXPECT_EQ(picture.size, QSizeF(200, 100));
    const QString file = dir.file("bild.png", picture.image);
    EXPECT_EQ(sizeOf(file), "40 x 20");
    EXPECT_TRUE(isNear(pixelAt(file, 5, 10), red, 0));
    EXPECT_TRUE(isNear(pixelAt(file, 35, 10), blue, 0));
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
                                 "p: " + plain(longParagraph), "h2: 1. Zweite Ebene",
                                 "ul:", "li: Erster Punkt", "li: Zweiter Punkt mit Äpfeln", "ol:",
                                 "li: Eins", "li: Zwei", "p:", "img: data:" + picture + ";base64",
                                 "p: Zweite Seite mit Text. [page-break-before: always]"}));

    // Text that looks like markup stays text; LibreOffice keeps the page breaks and the lists,
    // and a numbered list broken by a page goes on counting after it.
    StyledText made;
    auto item = [](const QString& text, bool ordered) {
        return StyledBlock{.kind = Kind::listItem, .runs = {{text}}, .ordered = ordered};
    };
    made.blocks = {{.kind = Kind::paragraph, .runs = {{"a < b & <i>c</i>", true, true}}},
                   {.kind = Kind::pageBreak},
                   item("Punkt", false),
                   item("Eins", true),
                   item("Zwei", true),
                   {.kind = Kind::pageBreak},
                   item("Drei", true)};
    const QString file = dir.file("made.html", StyledTextHTML::write(made, "made"));
    EXPECT_EQ(parsedHTML(readText(file)).mid(1),
              QStringList({"p: a < b & <i>c</i>", "ul: [page-break-before: always]", "li: Punkt",
                           "ol:", "li: Eins", "li: Zwei", "ol: [page-break-before: always]",
                           "li: Drei"}));
    const QString pdf = officeDocument(file, "pdf");
    EXPECT_EQ(pageCountOf(pdf), 3);
    EXPECT_EQ(textOf(pdf).simplified(), "a < b & <i>c</i> • Punkt 1. Eins 2. Zwei 3. Drei");
}
