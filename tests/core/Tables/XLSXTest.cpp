#include "Tables/XLSX.h"

#include "Tables/SpreadsheetConverter.h"
#include "Tables/XLSXCells.h"
#include "TestFiles.h"

#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>
#include <gtest/gtest.h>

using namespace tramix;
using test::errorOf;

namespace {

// A workbook zipped from the given parts, as another program might write it.
QString handMadeWorkbook(const test::TestFolder& folder, const QString& name,
                         const QList<std::pair<QString, QByteArray>>& parts) {
    const QString root = folder.folder(name + ".parts");
    QStringList names;
    for (const auto& [part, bytes] : parts) {
        folder.file(name + ".parts/" + part, bytes);
        names.append(part);
    }
    const QString workbook = folder.path(name);
    test::toolOutput("/usr/bin/zip", QStringList{"-q", "-X", workbook} + names, root);
    return workbook;
}

QByteArray sheetXML(const QByteArray& rows) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><worksheet "
           "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>" +
           rows + "</sheetData></worksheet>";
}

QByteArray unzipped(const QString& workbook, const QString& part) {
    return test::toolOutput("/usr/bin/unzip", {"-p", workbook, part}).toUtf8();
}

// Every row as long as the longest, as the reader hands a sheet back.
TableGrid padded(TableGrid grid) {
    qsizetype width = 0;
    for (const QStringList& row : grid)
        width = std::max(width, row.size());
    for (QStringList& row : grid) {
        while (row.size() < width)
            row.append(QString());
    }
    return grid;
}

const TableGrid tricky = {
    {"Artikel", "Menge", "Preis", "Code", "Notiz"},
    {"Tee & <Kaffee>", "12", "-0.5", "007", "Zeile 1\nZeile 2 \"zitiert\""},
    {"Exponent", "1e5", "0.10", "-0", " führendes Leerzeichen"},
    {},
    {"Lücke", "", "", "", "am Ende"},
    {"Steuer\x01zeichen\ttab"},
};

} // namespace

TEST(XLSX, ColumnNamesAndIndicesAreBijectiveBase26) {
    const std::pair<int, const char*> names[] = {{0, "A"},     {25, "Z"},     {26, "AA"},
                                                 {51, "AZ"},   {52, "BA"},    {701, "ZZ"},
                                                 {702, "AAA"}, {16383, "XFD"}};
    for (const auto& [index, letters] : names) {
        EXPECT_EQ(XLSXCells::columnName(index), letters);
        EXPECT_EQ(XLSXCells::columnIndex(QString(letters) + "17"), index) << letters;
    }
    for (int index = 0; index < 20000; ++index)
        ASSERT_EQ(XLSXCells::columnIndex(XLSXCells::columnName(index)), index);
    // A foreign file's absurd reference must not become a negative index.
    EXPECT_GE(XLSXCells::columnIndex(u"ZZZZZZZZZZZZZZZZ"), 0);
}

TEST(XLSX, OnlyPlainDecimalsAreStoredAsNumbersAndReadBackShortest) {
    for (const char* number : {"0", "7", "-12", "-0.5", "3.14159", "100.0"})
        EXPECT_TRUE(XLSXCells::isNumber(number)) << number;
    // Excel would drop the zeros or read an exponent, a sign or a comma its own way.
    for (const char* text : {"", "-", "007", "00", "1e5", "1.", ".5", "+1", "1 ", "1,5", "0x1"})
        EXPECT_FALSE(XLSXCells::isNumber(text)) << text;
    const std::pair<double, const char*> numbers[] = {{-12, "-12"},
                                                      {0.1, "0.1"},
                                                      {-0.0, "0"},
                                                      {1.0 / 3, "0.333333333333333"},
                                                      {999999999999999.0, "999999999999999"},
                                                      {1e15, "1e+15"},
                                                      {2.5e-7, "2.5e-07"}};
    for (const auto& [number, text] : numbers)
        EXPECT_EQ(XLSXCells::format(number), text);
}

TEST(XLSX, WrittenWorkbooksReadBackToTheSameGrid) {
    test::TestFolder folder;
    TableGrid grid = tricky;
    QStringList wide; // past Z, AZ and ZZ
    for (int i = 0; i < 705; ++i)
        wide.append(i % 50 == 0 ? QString("c%1").arg(i) : QString());
    wide.append("last");
    grid.append(wide);

    const QString workbook = folder.path("Tabelle.xlsx");
    XLSX::write(grid, workbook);
    TableGrid expected = padded(grid);
    expected[2][2] = "0.1"; // numbers come back in their shortest form
    expected[2][3] = "0";
    expected[5][0] = "Steuerzeichen\ttab"; // control characters cannot be stored
    EXPECT_EQ(XLSX::read(workbook), expected);

    // Numbers are numbers to Excel, and the rest stays text as it was typed.
    const QByteArray sheet = unzipped(workbook, "xl/worksheets/sheet1.xml");
    EXPECT_TRUE(sheet.contains("<c r=\"C2\"><v>-0.5</v></c>")) << sheet.left(2000).data();
    EXPECT_TRUE(sheet.contains("<c r=\"D2\" t=\"inlineStr\"><is><t xml:space=\"preserve\">007<"));
    EXPECT_TRUE(unzipped(workbook, "xl/workbook.xml").contains("<sheet name=\"Tabelle1\""));

    // The destination is never replaced.
    EXPECT_NE(errorOf([&] { XLSX::write({{"x"}}, workbook); }), "(no error)");
    EXPECT_EQ(XLSX::read(workbook), expected);
}

TEST(XLSX, ReadsSharedStringsTypesGapsAndCountsOnWithoutReferences) {
    test::TestFolder folder;
    const QByteArray shared =
        "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
        "<si><t>Name</t></si>"
        "<si><r><rPr><b/></rPr><t>fett</t></r><r><t xml:space=\"preserve\"> und normal</t></r></si>"
        "<si><t>A &amp; B</t></si></sst>";
    const QByteArray rows =
        "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>1</v></c>"
        "<c r=\"D1\" t=\"s\"><v>2</v></c></row>"
        "<row r=\"3\"><c r=\"A3\" t=\"b\"><v>1</v></c><c r=\"B3\" t=\"b\"><v>0</v></c>"
        "<c r=\"C3\"><v>2.0</v></c><c r=\"D3\" t=\"n\"><v>0.1</v></c></row>"
        // No references: the row after row 3, cells counted on from the last one.
        "<row><c t=\"str\"><f>A1</f><v>Name</v></c><c><v>1.5E3</v></c><c r=\"E4\"><v>x</v></c>"
        "<c t=\"inlineStr\"><is><t>inline</t></is></c><c t=\"s\"><v>9</v></c>"
        "<c t=\"s\"><v></v></c><c t=\"e\"><v>#DIV/0!</v></c></row>";
    const QString workbook = handMadeWorkbook(folder, "Fremd.xlsx",
                                              {{"xl/sharedStrings.xml", shared},
                                               {"xl/worksheets/sheet2.xml", sheetXML("<row/>")},
                                               {"xl/worksheets/sheet1.xml", sheetXML(rows)}});
    EXPECT_EQ(XLSX::read(workbook),
              TableGrid({
                  {"Name", "fett und normal", "", "A & B", "", "", "", "", ""},
                  {"", "", "", "", "", "", "", "", ""},
                  {"WAHR", "FALSCH", "2", "0.1", "", "", "", "", ""},
                  {"Name", "1500", "", "", "x", "inline", "", "", "#DIV/0!"},
              }));

    // Rows and cells out of order land where their references say.
    const QString shuffled = handMadeWorkbook(
        folder, "Durcheinander.xlsx",
        {{"xl/worksheets/sheet1.xml",
          sheetXML("<row r=\"3\"><c r=\"B3\"><v>6</v></c><c r=\"A3\"><v>5</v></c></row>"
                   "<row r=\"1\"><c r=\"C1\"><v>3</v></c><c r=\"A1\"><v>1</v></c></row>")}});
    const TableGrid ordered = {{"1", "", "3"}, {"", "", ""}, {"5", "6", ""}};
    EXPECT_EQ(XLSX::read(shuffled), ordered);
    TableGrid streamed;
    XLSX::stream(shuffled, [&](const TableRow& row) { streamed.append(row.toStrings()); });
    EXPECT_EQ(streamed, ordered);
    const QString inRowOrder = handMadeWorkbook(
        folder, "Zeilen.xlsx",
        {{"xl/worksheets/sheet1.xml",
          sheetXML("<row r=\"1\"><c r=\"C1\"><v>3</v></c><c r=\"A1\"><v>1</v></c></row>"
                   "<row r=\"3\"><c r=\"B3\"><v>6</v></c><c r=\"A3\"><v>5</v></c></row>")}});
    EXPECT_EQ(XLSX::read(inRowOrder), ordered);

    // Without shared strings or a worksheet, there is simply nothing in the table.
    const QString bare =
        handMadeWorkbook(folder, "Leer.xlsx", {{"xl/workbook.xml", "<workbook/>"}});
    EXPECT_TRUE(XLSX::read(bare).isEmpty());
    EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(bare, "csv", {}); }),
              "Die Tabelle ist leer.");
}

TEST(XLSX, DamagedWorkbooksSaySoAndLeaveNothingBehind) {
    test::TestFolder folder;
    const QByteArray scratch = qgetenv("TMPDIR");
    qputenv("TMPDIR", folder.folder("tmp").toUtf8());
    const auto restore = qScopeGuard([&] { qputenv("TMPDIR", scratch); });

    const QString notZip = folder.file("Kaputt.xlsx", "PK\x03\x04 this is no zip at all");
    XLSX::write(tricky, folder.path("Gut.xlsx"));
    const QString truncated =
        folder.file("Halb.xlsx", test::readBytes(folder.path("Gut.xlsx")).chopped(200));
    const QString brokenXML = handMadeWorkbook(
        folder, "XML.xlsx", {{"xl/worksheets/sheet1.xml", sheetXML("<row><c><v>1</v></row>")}});
    const QString noWorkbook = handMadeWorkbook(folder, "Fremd.xlsx", {{"notes.txt", "hello"}});

    for (const QString& workbook : {notZip, truncated, brokenXML, noWorkbook}) {
        EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(workbook, "csv", {}); }),
                  "Die Excel-Datei ist beschädigt.")
            << workbook.toStdString();
    }
    EXPECT_EQ(folder.names(),
              QStringList({"Fremd.xlsx", "Fremd.xlsx.parts", "Gut.xlsx", "Halb.xlsx", "Kaputt.xlsx",
                           "XML.xlsx", "XML.xlsx.parts", "tmp"}));
    EXPECT_EQ(test::namesIn(folder.path("tmp")), QStringList());
}

TEST(XLSX, LibreOfficeOpensOursAndWeReadLibreOffices) {
    const QString soffice = "/usr/bin/soffice";
    if (!QFileInfo::exists(soffice))
        GTEST_SKIP() << "LibreOffice Calc is not installed";
    test::TestFolder folder;
    const QString profile = "-env:UserInstallation=file://" + folder.folder("profile");
    const auto convert = [&](const QStringList& arguments) {
        QProcess office;
        office.start(soffice, QStringList{profile, "--headless"} + arguments +
                                  QStringList{"--outdir", folder.folder("lo")});
        ASSERT_TRUE(office.waitForFinished(120000));
    };

    // Ours, opened by Calc and saved as UTF-8 CSV, gives the grid back.
    const TableGrid ours = {{"Name", "Menge", "Notiz"},
                            {"Tee & <Kaffee>", "12", "süß, \"scharf\""},
                            {"Code", "007", ""},
                            {"", "-0.5", "Ende"}};
    XLSX::write(ours, folder.path("Ours.xlsx"));
    convert({"--convert-to", "csv:Text - txt - csv (StarCalc):44,34,76", folder.path("Ours.xlsx")});
    EXPECT_EQ(SpreadsheetConverter::read(folder.path("lo/Ours.csv")), ours);

    // Calc's own workbook: shared strings (one repeated), booleans, numbers and gaps.
    folder.file("Calc.csv", "Name,Aktiv,Menge,,Name\nTee,TRUE,2.5,,\n\nKaffee,FALSE,0.1,,1234567\n"
                            "Tee,,,x,\n");
    convert({"--infilter=CSV:44,34,76,1,,1033", "--convert-to", "xlsx", folder.path("Calc.csv")});
    const QString calc = folder.path("lo/Calc.xlsx");
    ASSERT_TRUE(unzipped(calc, "xl/sharedStrings.xml").contains("Kaffee"));
    ASSERT_TRUE(unzipped(calc, "xl/worksheets/sheet1.xml").contains("t=\"b\""));
    EXPECT_EQ(XLSX::read(calc), TableGrid({{"Name", "Aktiv", "Menge", "", "Name"},
                                           {"Tee", "WAHR", "2.5", "", ""},
                                           {"", "", "", "", ""},
                                           {"Kaffee", "FALSCH", "0.1", "", "1234567"},
                                           {"Tee", "", "", "x", ""}}));
}
