#include "Tables/SpreadsheetConverter.h"

#include "SystemError.h"
#include "Tables/DelimitedParser.h"
#include "Tables/DelimitedWriter.h"
#include "Tables/HTMLTableWriter.h"
#include "Tables/JSONTableWriter.h"
#include "Tables/TextScan.h"
#include "TestFiles.h"

#include <QFile>
#include <cerrno>
#include <gtest/gtest.h>
#include <memory>

using namespace tramix;
using test::errorOf;
namespace Sheet = tramix::SpreadsheetConverter;

TEST(SpreadsheetConverter, DelimiterCountsTheFirstLineWithTiesToCommaThenSemicolon) {
    const std::pair<const char*, char> cases[] = {
        {"a;b;c,d,e", ','},           // two of each: comma
        {"a\tb\tc\td,e,f;g;h", '\t'}, // three tabs beat two and two
        {"a;b;c,d\n", ';'},
        {"a\tb;c;d", ';'},
        {"plain words", ','},
        {"a;b\nc,d,e,f", ';'},       // only the first line counts
        {"a;b\rc,d,e,f", ';'},       // a lone carriage return ends it, too
        {"a;b\r\nc,d,e,f\r\n", ';'}, // and so does a CR LF pair
        {"\na;b;c", ','},            // an empty first line holds nothing
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(Sheet::detectDelimiter(QString::fromUtf8(text), "csv"), QChar(expected)) << text;
    EXPECT_EQ(Sheet::detectDelimiter("a,b,c", "tsv"), QChar(u'\t'));
}

TEST(SpreadsheetConverter, ParseHandlesQuotesEmptyLinesAndLineEnds) {
    EXPECT_EQ(Sheet::parse("name,note\n\"a,b\nc \"\"q\"\"\",x\n", u','),
              TableGrid({{"name", "note"}, {"a,b\nc \"q\"", "x"}}));
    // A quote inside an unquoted cell is an ordinary character.
    EXPECT_EQ(Sheet::parse("5\" Display,12 \"Zoll\"", u','),
              TableGrid({{"5\" Display", "12 \"Zoll\""}}));
    // Empty lines vanish; a line holding only the delimiter is two empty cells.
    EXPECT_EQ(Sheet::parse("a;b\n\n\n;\nc;d", u';'), TableGrid({{"a", "b"}, {"", ""}, {"c", "d"}}));
    // A closed quote lets the rest of the cell follow; a quote at the very end closes, too.
    EXPECT_EQ(Sheet::parse("\"ab\"c,\"x\"\"\"", u','), TableGrid({{"abc", "x\""}}));
    EXPECT_EQ(Sheet::parse("\"\",\"\"\n\"\"\n", u','), TableGrid({{"", ""}}));
    EXPECT_EQ(Sheet::parse("a\tb,c\n", u'\t'), TableGrid({{"a", "b,c"}}));
    // Only the text's own byte-order mark goes; a cell keeps its leading U+FEFF.
    EXPECT_EQ(Sheet::parse(QStringLiteral("\uFEFFa,\uFEFFb\n\uFEFFc"), u','),
              TableGrid({{"a", QStringLiteral("\uFEFFb")}, {QStringLiteral("\uFEFFc")}}));
    EXPECT_TRUE(Sheet::parse("", u',').isEmpty());
    EXPECT_TRUE(Sheet::parse("\n\n", u',').isEmpty());

    // A CR LF pair ends a row like a line feed; a carriage return before anything else stays.
    EXPECT_EQ(Sheet::parse("a,b\r\n\r\nc,d\r\n", u','), TableGrid({{"a", "b"}, {"c", "d"}}));
    EXPECT_EQ(Sheet::parse("a\rb,c\nd\r\r\ne,\"f\"\r\ng\r", u','),
              TableGrid({{"a\rb", "c"}, {"d\r"}, {"e", "f"}, {"g\r"}}));
    // A carriage return does not end the cell before a quote, so the quote is plain text.
    EXPECT_EQ(Sheet::parse("\r\"x\"", u','), TableGrid({{"\r\"x\""}}));
}

// Spreadsheet programs end every line with CR LF and keep line breaks inside quoted cells.
TEST(SpreadsheetConverter, CRLFFilesReadAsTheirRowsWhereverThePiecesEnd) {
    const QByteArray text = "\xEF\xBB\xBFName;Notiz;Menge\r\n"
                            "Anna;\"Zeile eins\r\nZeile zwei\";3\r\n"
                            "\"Bo\"\"b\";\"alt\rneu\";\"\"\r\n"
                            "\r\n"
                            "Cem;x\ry;\r\n";
    const TableGrid expected = {{"Name", "Notiz", "Menge"},
                                {"Anna", "Zeile eins\r\nZeile zwei", "3"},
                                {"Bo\"b", "alt\rneu", ""},
                                {"Cem", "x\ry", ""}};
    EXPECT_EQ(Sheet::detectDelimiter(QString::fromUtf8(text), "csv"), QChar(u';'));

    // Fed one byte at a time, and in two pieces split at every position (among them inside the
    // byte-order mark and between each CR and its LF): the same delimiter and the same rows as
    // the whole text.
    const auto parsePieces = [](const QList<QByteArrayView>& pieces) {
        TextScan scan;
        for (QByteArrayView piece : pieces)
            scan.feed(piece);
        EXPECT_EQ(scan.delimiter("csv"), ';');
        TableGrid grid;
        DelimitedParser parser(scan.delimiter("csv"), !scan.isUtf8(),
                               [&](const TableRow& row) { grid.append(row.toStrings()); });
        for (QByteArrayView piece : pieces)
            parser.feed(piece);
        parser.finish();
        EXPECT_EQ(parser.rows(), grid.size());
        return grid;
    };
    const QByteArrayView whole(text);
    QList<QByteArrayView> bytes;
    for (qsizetype i = 0; i < whole.size(); ++i)
        bytes.append(whole.sliced(i, 1));
    EXPECT_EQ(parsePieces(bytes), expected);
    for (qsizetype split = 0; split <= whole.size(); ++split) {
        EXPECT_EQ(parsePieces({whole.first(split), whole.sliced(split)}), expected)
            << "split at " << split;
    }
    // A character that begins like the mark (U+FEFE) stays in the text.
    EXPECT_EQ(parsePieces({"\xEF", "\xBB", "\xBE;x"}), TableGrid({{QString(QChar(0xFEFE)), "x"}}));
}

TEST(SpreadsheetConverter, SerializeQuotesWhatWouldBreakTheLineAndRoundTrips) {
    const TableGrid grid = {{"a,b", "plain", "say \"hi\""}, {"line\nbreak", "cr\rhere", ""}, {"x"}};
    EXPECT_EQ(Sheet::serialize(grid, u','),
              "\"a,b\",plain,\"say \"\"hi\"\"\"\n\"line\nbreak\",\"cr\rhere\",\nx\n");
    // The comma needs no quotes between tabs.
    EXPECT_EQ(Sheet::serialize({{"a,b", "c"}}, u'\t'), "a,b\tc\n");
    EXPECT_EQ(Sheet::serialize({{"a\tb", "c"}}, u'\t'), "\"a\tb\"\tc\n");
    EXPECT_EQ(Sheet::parse(Sheet::serialize(grid, u','), u','), grid);
    EXPECT_EQ(Sheet::parse(Sheet::serialize(grid, u'\t'), u'\t'), grid);
}

TEST(SpreadsheetConverter, JSONKeysObjectsByHeaderSortedWithStringValues) {
    EXPECT_EQ(Sheet::json({}), "[]");
    EXPECT_EQ(Sheet::json({{"a", "b"}}), "[]");
    // An empty header cell is named by its column, the later of two equal names wins, keys are
    // sorted as people read them (case aside, numbers by value), short rows are filled up and
    // cells beyond the header dropped; slashes stay, control characters are escaped.
    const TableGrid grid = {{"Spalte 10", "name", "", "Name", "Name"},
                            {"a", "b/c", "ä\"\\\n\t\x01", "früh", "spät", "zu weit"},
                            {"kurz"}};
    EXPECT_EQ(Sheet::json(grid), "[\n"
                                 "  {\n"
                                 "    \"Name\": \"spät\",\n"
                                 "    \"name\": \"b/c\",\n"
                                 "    \"Spalte 3\": \"ä\\\"\\\\\\n\\t\\u0001\",\n"
                                 "    \"Spalte 10\": \"a\"\n"
                                 "  },\n"
                                 "  {\n"
                                 "    \"Name\": \"\",\n"
                                 "    \"name\": \"\",\n"
                                 "    \"Spalte 3\": \"\",\n"
                                 "    \"Spalte 10\": \"kurz\"\n"
                                 "  }\n"
                                 "]");
}

TEST(SpreadsheetConverter, HTMLIsOneEscapedTableWithTheHeaderApart) {
    const QString html = Sheet::html({{"A&B", "<C>"}, {"1 < 2", "x"}, {"only"}}, "Preise & <M>");
    EXPECT_TRUE(html.startsWith("<!doctype html>")) << html.toStdString();
    EXPECT_TRUE(html.contains("<title>Preise &amp; &lt;M&gt;</title>"));
    EXPECT_TRUE(html.endsWith(
        "<body><table>\n<thead><tr><th>A&amp;B</th><th>&lt;C&gt;</th></tr></thead>\n<tbody>\n"
        "<tr><td>1 &lt; 2</td><td>x</td></tr>\n<tr><td>only</td></tr>\n</tbody>\n"
        "</table></body></html>"))
        << html.toStdString();
    EXPECT_TRUE(Sheet::html({}, "leer").endsWith("<body><table>\n\n</table></body></html>"));
}

TEST(SpreadsheetConverter, ConvertReadsLatin1AndBomAndNeverLeavesAnEmptyOrDoubleResult) {
    test::TestFolder folder;
    // Not UTF-8: read as Latin-1, written as UTF-8; semicolons found on the first line.
    const QString latin = folder.file("Kunden.csv", "Stra\xDF"
                                                    "e;Ort\nHaupt 1;K\xF6ln\n");
    const QString tsv = Sheet::convert(latin, "tsv", {});
    EXPECT_EQ(tsv, folder.path("Kunden.tsv"));
    EXPECT_EQ(test::readText(tsv), "Straße\tOrt\nHaupt 1\tKöln\n");
    // A second conversion takes the next free name.
    EXPECT_EQ(Sheet::convert(latin, "TSV", {}), folder.path("Kunden 2.tsv"));

    // Excel's byte-order mark is not part of the first key.
    const QString bom = folder.file("Bom.csv", "\xEF\xBB\xBFId,Wert\n1,Zwei\n");
    EXPECT_EQ(Sheet::read(bom), TableGrid({{"Id", "Wert"}, {"1", "Zwei"}}));
    const QString html = Sheet::convert(bom, "html", OutputContext{folder.folder("out"), 0.85});
    EXPECT_EQ(html, folder.path("out/Bom.html"));
    EXPECT_TRUE(test::readText(html).contains("<title>Bom</title>"));

    const QString empty = folder.file("Leer.csv", "\n\n");
    for (const Sheet::Format& format : Sheet::formats()) {
        EXPECT_EQ(errorOf([&] { Sheet::convert(empty, format.ext, {}); }), "Die Tabelle ist leer.");
    }
    EXPECT_EQ(errorOf([&] { Sheet::convert(folder.path("Fehlt.csv"), "json", {}); }),
              "„Fehlt.csv“ konnte nicht gelesen werden.");
    EXPECT_EQ(errorOf([&] { Sheet::convert(folder.path("Fehlt.xlsx"), "csv", {}); }),
              "„Fehlt.xlsx“ konnte nicht gelesen werden.");
    EXPECT_EQ(errorOf([&] { Sheet::convert(latin, "ods", {}); }),
              "Nicht unterstützt: Tabellen als ODS");
    EXPECT_EQ(folder.names(), QStringList({"Bom.csv", "Kunden 2.tsv", "Kunden.csv", "Kunden.tsv",
                                           "Leer.csv", "out"}));
}

TEST(SpreadsheetConverter, LargeTablesStreamThroughPieceBoundariesLikeTheWholeText) {
    // Over 3 MiB, so quoted cells, doubled quotes and CR LF pairs fall on the reading pieces'
    // borders somewhere; Latin-1 bytes late in the file switch the whole file to Latin-1.
    QByteArray text = "id,text,amount\n";
    for (int i = 0; i < 40000; ++i) {
        text += QByteArray::number(i) + ",\"Zeile " + QByteArray::number(i) +
                ", mit \"\"Zitat\"\"\nund Umbruch\"," + QByteArray::number(i * 7 % 1000) + "." +
                QByteArray::number(i % 10) + (i % 3 ? "\n" : "\r\n");
    }
    test::TestFolder folder;
    const QString utf8 = folder.file("big.csv", text);
    const QString latin = folder.file("latin.csv", text + "\n40000,Gr\xFC\xDF"
                                                          "e,1\n");
    const TableGrid grid = Sheet::parse(QString::fromUtf8(text), u',');
    ASSERT_EQ(grid.size(), 40001);

    EXPECT_EQ(test::readText(Sheet::convert(utf8, "csv", {})), Sheet::serialize(grid, u','));
    TableGrid latinGrid = grid;
    latinGrid.append({"40000", "Grüße", "1"});
    EXPECT_EQ(Sheet::read(latin), latinGrid);
    EXPECT_EQ(test::readText(Sheet::convert(latin, "json", {})), Sheet::json(latinGrid));
}

// Every writer's bytes reach the disk or the user hears why not; /dev/full refuses them all.
TEST(SpreadsheetConverter, WritersSayWhenTheDiskIsFull) {
    const TableRow big = TableRow::from({"Kopf", QString(2 << 20, u'x')});
    for (const char* ext : {"csv", "tsv", "json", "html"}) {
        QFile full("/dev/full");
        ASSERT_TRUE(full.open(QIODevice::WriteOnly));
        const QString name = QString("Tabelle.") + ext;
        std::unique_ptr<TableWriter> writer;
        if (ext == QString("json"))
            writer = std::make_unique<JSONTableWriter>(full, name);
        else if (ext == QString("html"))
            writer = std::make_unique<HTMLTableWriter>(full, name, "Tabelle");
        else
            writer =
                std::make_unique<DelimitedWriter>(full, name, ext == QString("csv") ? ',' : '\t');
        EXPECT_EQ(errorOf([&] {
                      writer->row(big);
                      writer->row(big);
                      writer->finish();
                  }),
                  "„" + name +
                      "“ konnte nicht geschrieben werden: " + SystemError::writeReason(ENOSPC))
            << ext;
    }
}

// JSON names every column in every row: a wide header over short rows must not become gigabytes.
TEST(SpreadsheetConverter, NoResultGrowsAHundredfoldPastItsSource) {
    test::TestFolder folder;
    QByteArray text;
    for (int column = 0; column < 1000; ++column)
        text +=
            (column ? "," : "") + QByteArray(100, 'a' + column % 26) + QByteArray::number(column);
    text += "\n";
    for (int row = 0; row < 2000; ++row)
        text += "x\n";
    const QString csv = folder.file("Breit.csv", text);
    EXPECT_EQ(errorOf([&] { Sheet::convert(csv, "json", {}); }),
              "„Breit.json“ würde größer als 100 MB und damit mehr als hundertmal so groß wie "
              "„Breit.csv“; die Umwandlung wurde abgebrochen.");
    // The same table as CSV or HTML is no larger than its source.
    EXPECT_EQ(Sheet::convert(csv, "tsv", {}), folder.path("Breit.tsv"));
    EXPECT_EQ(folder.names(), QStringList({"Breit.csv", "Breit.tsv"}));
}
