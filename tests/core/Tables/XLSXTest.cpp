#include "Tables/XLSX.h"

#include "DiskSpace.h"
#include "SystemError.h"
#include "Tables/DateFormats.h"
#include "Tables/SpreadsheetConverter.h"
#include "Tables/XLSXCells.h"
#include "Tables/XLSXWriter.h"
#include "TestFiles.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QtEndian>
#include <cerrno>
#include <gtest/gtest.h>
#include <zlib.h>

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

// One part of a package built byte by byte, so that its listing can say what a test wants.
struct Part {
    QByteArray name;
    QByteArray data; // raw deflate
    qint64 size = 0; // as listed
    quint32 crc = 0; // as listed
};

// `pieces` deflated one after another, as one part whose listing tells the truth.
Part deflated(const QByteArray& name, const QList<std::pair<QByteArray, int>>& pieces) {
    Part part{name, {}, 0, quint32(crc32(0, nullptr, 0))};
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY);
    QByteArray out(1 << 16, Qt::Uninitialized);
    const auto pump = [&](const QByteArray& bytes, int flush) {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
        stream.avail_in = uInt(bytes.size());
        do {
            stream.next_out = reinterpret_cast<Bytef*>(out.data());
            stream.avail_out = uInt(out.size());
            deflate(&stream, flush);
            part.data.append(out.constData(), out.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    };
    for (const auto& [bytes, times] : pieces) {
        for (int i = 0; i < times; ++i) {
            pump(bytes, Z_NO_FLUSH);
            part.crc = quint32(crc32(part.crc, reinterpret_cast<const Bytef*>(bytes.constData()),
                                     uInt(bytes.size())));
            part.size += bytes.size();
        }
    }
    pump({}, Z_FINISH);
    deflateEnd(&stream);
    return part;
}

QByteArray zipOf(const QList<Part>& parts) {
    const auto le16 = [](QByteArray& to, quint16 value) {
        to.append(reinterpret_cast<const char*>(&(value = qToLittleEndian(value))), 2);
    };
    const auto le32 = [](QByteArray& to, quint32 value) {
        to.append(reinterpret_cast<const char*>(&(value = qToLittleEndian(value))), 4);
    };
    QByteArray file, directory;
    for (const Part& part : parts) {
        const auto header = [&](QByteArray& to, bool central) {
            le32(to, central ? 0x02014b50 : 0x04034b50);
            if (central)
                le16(to, 20); // made by
            le16(to, 20);     // needed
            le16(to, 0);      // flags
            le16(to, 8);      // deflated
            le32(to, 0);      // time and date
            le32(to, part.crc);
            le32(to, quint32(part.data.size()));
            le32(to, quint32(part.size));
            le16(to, quint16(part.name.size()));
            le16(to, 0); // extra
            if (central) {
                le16(to, 0); // comment
                le16(to, 0); // disk
                le16(to, 0); // internal attributes
                le32(to, 0); // external attributes
                le32(to, quint32(file.size()));
            }
            to.append(part.name);
        };
        header(directory, true);
        header(file, false);
        file.append(part.data);
    }
    const qint64 directoryOffset = file.size();
    file.append(directory);
    le32(file, 0x06054b50);
    le32(file, 0); // disks
    le16(file, quint16(parts.size()));
    le16(file, quint16(parts.size()));
    le32(file, quint32(directory.size()));
    le32(file, quint32(directoryOffset));
    le16(file, 0);
    return file;
}

// Every file under `folder`, relative to it: what a conversion left in its scratch folder.
QStringList filesUnder(const QString& folder) {
    QStringList files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(QDir(folder).relativeFilePath(it.next()));
    return files;
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
    for (const char* number : {"0", "7", "-12", "-0.5", "3.14159", "100.0", "-100000000000000",
                               "0.000123456789012345", "12345678901234.5"})
        EXPECT_TRUE(XLSXCells::isNumber(number)) << number;
    // Excel would drop the zeros, read an exponent, a sign or a comma its own way, or round
    // away digits past the fifteenth.
    for (const char* text : {"", "-", "007", "00", "1e5", "1.", ".5", "+1", "1 ", "1,5", "0x1",
                             "1000000000000000", "-0.1234567890123456", "12345678901234.50"})
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

TEST(XLSX, FormatCodesShowDatesOrTimesByTheirTokensOutsideLiterals) {
    using Kind = DateFormats::Kind;
    const std::pair<const char*, Kind> codes[] = {
        {"yyyy\\-mm\\-dd", Kind::Date},
        {"[$-407]DD.MM.YYYY;@", Kind::Date},
        {"mmmm", Kind::Date}, // a month alone
        {"d\\.m\\.yy\\ h:mm", Kind::DateTime},
        {"[Blue]hh\"h\"mm", Kind::Time}, // minutes after hours, though apart
        {"mm:ss.00", Kind::Time},        // minutes before seconds, tenths no number
        {"h:mm AM/PM", Kind::Time},
        {"[h]:mm:ss", Kind::Duration},
        {"[mm]:ss.0", Kind::Duration},
        {"yyyy-mm-dd;0.00%", Kind::Date}, // the format for positive numbers decides
        {"0.00%", Kind::Number},
        {"#,##0", Kind::Number},
        {"\"km\"0", Kind::Number},
        {"\"dd.mm.yyyy\"", Kind::Number},
        {"\\d\\a\\y", Kind::Number},
        {"[>=100]\"viel\";\"wenig\"", Kind::Number},
        {"0.00E+00", Kind::Number},
        {"General", Kind::Number},
        {"@", Kind::Number},
    };
    for (const auto& [code, kind] : codes)
        EXPECT_EQ(DateFormats::ofCode(QString::fromUtf8(code)), kind) << code;
}

// Built-in formats and the workbook's own ones, in either date system; percentages and numbers
// in other styles keep their value, and so does a serial that names no day.
TEST(XLSX, NumbersInDateAndTimeStylesReadAsISOTextInEitherDateSystem) {
    test::TestFolder folder;
    // Cell styles: general, 14 (date), 21 (time), a date and time of the workbook's own, 46
    // (elapsed hours), 10 (percent), a percentage of its own. The styles that cells inherit
    // from and the differential formats have formats too, which cells do not show.
    const QByteArray styles =
        "<styleSheet><numFmts><numFmt numFmtId=\"164\" formatCode=\"dd/mm/yyyy\\ hh:mm:ss\"/>"
        "<numFmt numFmtId=\"165\" formatCode=\"0.0%\"/></numFmts>"
        "<cellStyleXfs><xf numFmtId=\"14\"/></cellStyleXfs><cellXfs><xf/><xf numFmtId=\"14\"/>"
        "<xf numFmtId=\"21\"/><xf numFmtId=\"164\"/><xf numFmtId=\"46\"/><xf numFmtId=\"10\"/>"
        "<xf numFmtId=\"165\"/></cellXfs><dxfs><dxf><numFmt numFmtId=\"164\" formatCode=\"0\"/>"
        "</dxf></dxfs></styleSheet>";
    struct Case {
        const char* cell; // attributes and value
        const char* in1900;
        const char* in1904;
    };
    const Case cases[] = {
        {"s=\"1\"><v>45420", "2024-05-08", "2028-05-09"},
        {"s=\"3\"><v>45420.5732638889", "2024-05-08 13:45:30", "2028-05-09 13:45:30"},
        {"s=\"3\"><v>45420.999999999", "2024-05-09 00:00:00", "2028-05-10 00:00:00"},
        {"s=\"2\"><v>45420.572916666667", "13:45:00", "13:45:00"},
        {"s=\"4\"><v>1.52083333333333", "36:30:00", "36:30:00"},
        {"s=\"1\"><v>1", "1900-01-01", "1904-01-02"},
        {"s=\"1\"><v>59", "1900-02-28", "1904-02-29"},
        {"s=\"1\"><v>60", "60", "1904-03-01"},
        {"s=\"1\"><v>61", "1900-03-01", "1904-03-02"},
        {"s=\"1\"><v>0", "0", "1904-01-01"},
        {"s=\"1\"><v>2958465", "9999-12-31", "2958465"},
        {"s=\"3\"><v>-1", "-1", "-1"},
        {"s=\"2\"><v>1E300", "1e+300", "1e+300"},
        {"s=\"5\"><v>0.125", "0.125", "0.125"},
        {"s=\"6\"><v>0.125", "0.125", "0.125"},
        {"s=\"0\"><v>45420", "45420", "45420"},
        {"s=\"9\"><v>45420", "45420", "45420"},
        {"t=\"str\" s=\"1\"><v>45420", "45420", "45420"},
    };
    QByteArray rows;
    TableGrid in1900, in1904;
    for (const Case& c : cases) {
        rows += QByteArray("<row><c ") + c.cell + "</v></c></row>";
        in1900.append({c.in1900});
        in1904.append({c.in1904});
    }
    for (const char* date1904 : {"false", "1", "true"}) {
        const QString workbook =
            handMadeWorkbook(folder, QString(date1904) + ".xlsx",
                             {{"xl/workbook.xml", QByteArray("<workbook><workbookPr date1904=\"") +
                                                      date1904 + "\"/></workbook>"},
                              {"xl/styles.xml", styles},
                              {"xl/worksheets/sheet1.xml", sheetXML(rows)}});
        EXPECT_EQ(XLSX::read(workbook), date1904 == QString("false") ? in1900 : in1904) << date1904;
    }
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
    const QByteArray cache = qgetenv("XDG_CACHE_HOME");
    qputenv("XDG_CACHE_HOME", folder.folder("tmp").toUtf8());
    const auto restore = qScopeGuard([&] { qputenv("XDG_CACHE_HOME", cache); });

    const QString notZip = folder.file("Kaputt.xlsx", "PK\x03\x04 this is no zip at all");
    XLSX::write(tricky, folder.path("Gut.xlsx"));
    const QString truncated =
        folder.file("Halb.xlsx", test::readBytes(folder.path("Gut.xlsx")).chopped(200));
    const QString brokenXML = handMadeWorkbook(
        folder, "XML.xlsx", {{"xl/worksheets/sheet1.xml", sheetXML("<row><c><v>1</v></row>")}});
    const QString noWorkbook = handMadeWorkbook(folder, "Fremd.xlsx", {{"notes.txt", "hello"}});
    // A part that holds more than its listing says is read up to the listed size and no further.
    const QByteArray rows = sheetXML("<row><c><v>1</v></c></row>");
    Part lying = deflated("xl/worksheets/sheet1.xml", {{rows, 1}});
    lying.size = rows.size() / 2;
    const QString lies = folder.file("Lügt.xlsx", zipOf({lying}));
    Part wrongSum = deflated("xl/worksheets/sheet1.xml", {{rows, 1}});
    wrongSum.crc ^= 1;
    const QString badSum = folder.file("Prüfsumme.xlsx", zipOf({wrongSum}));
    EXPECT_EQ(XLSX::read(folder.file("Ehrlich.xlsx",
                                     zipOf({deflated("xl/worksheets/sheet1.xml", {{rows, 1}})}))),
              TableGrid({{"1"}}));

    // Entities would let a few bytes stand for gigabytes of text; no workbook part has a DTD.
    const QByteArray dtd =
        "<?xml version=\"1.0\"?><!DOCTYPE x [<!ENTITY a \"" + QByteArray(4000, 'a') + "\">]>";
    const QString entities = handMadeWorkbook(
        folder, "Entität.xlsx",
        {{"xl/worksheets/sheet1.xml",
          dtd + "<worksheet><sheetData><row><c t=\"str\"><v>&a;&a;</v></c></row></sheetData>"
                "</worksheet>"}});
    const QString sharedEntities = handMadeWorkbook(
        folder, "Geteilt.xlsx",
        {{"xl/sharedStrings.xml", dtd + "<sst><si><t>&a;&a;</t></si></sst>"},
         {"xl/worksheets/sheet1.xml", sheetXML("<row><c t=\"s\"><v>0</v></c></row>")}});
    const QString styleEntities =
        handMadeWorkbook(folder, "Stil.xlsx",
                         {{"xl/styles.xml", dtd + "<styleSheet><numFmts><numFmt numFmtId=\"164\" "
                                                  "formatCode=\"&a;\"/></numFmts></styleSheet>"},
                          {"xl/worksheets/sheet1.xml", sheetXML("<row><c><v>1</v></c></row>")}});
    const QString brokenMain =
        handMadeWorkbook(folder, "Mappe.xlsx",
                         {{"xl/workbook.xml", "<workbook><workbookPr date1904=\"1\"></workbook>"},
                          {"xl/worksheets/sheet1.xml", sheetXML("<row><c><v>1</v></c></row>")}});

    for (const QString& workbook : {notZip, truncated, brokenXML, noWorkbook, lies, badSum,
                                    entities, sharedEntities, styleEntities, brokenMain}) {
        EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(workbook, "csv", {}); }),
                  "Die Excel-Datei ist beschädigt.")
            << workbook.toStdString();
    }
    EXPECT_EQ(folder.names(),
              QStringList({"Ehrlich.xlsx", "Entität.xlsx", "Entität.xlsx.parts", "Fremd.xlsx",
                           "Fremd.xlsx.parts", "Geteilt.xlsx", "Geteilt.xlsx.parts", "Gut.xlsx",
                           "Halb.xlsx", "Kaputt.xlsx", "Lügt.xlsx", "Mappe.xlsx",
                           "Mappe.xlsx.parts", "Prüfsumme.xlsx", "Stil.xlsx", "Stil.xlsx.parts",
                           "XML.xlsx", "XML.xlsx.parts", "tmp"}));
    EXPECT_EQ(filesUnder(folder.path("tmp")), QStringList());
}

TEST(XLSX, ZIP64PackagesReadLikeAnyOther) {
    test::TestFolder folder;
    const QString root = folder.folder("parts");
    folder.file(
        "parts/xl/worksheets/sheet1.xml",
        sheetXML("<row r=\"2\"><c r=\"B2\" t=\"inlineStr\"><is><t>weit</t></is></c></row>"));
    const QString workbook = folder.path("Gross.xlsx");
    test::toolOutput("/usr/bin/zip", {"-q", "-X", "-fz", "-r", workbook, "xl"}, root);
    EXPECT_EQ(XLSX::read(workbook), TableGrid({{"", ""}, {"", "weit"}}));
}

// A 1.4 KB workbook must neither crash nor write gigabytes: cells outside the sheet are refused,
// and so are a few cells far apart that every format but XLSX would spell out as a full grid.
TEST(XLSX, CellsBeyondTheSheetOrFarApartAreRefusedInASentence) {
    test::TestFolder folder;
    const auto workbook = [&](const QString& name, const QByteArray& rows) {
        return handMadeWorkbook(folder, name, {{"xl/worksheets/sheet1.xml", sheetXML(rows)}});
    };
    const QString column =
        workbook("Spalte.xlsx", "<row r=\"1\"><c r=\"AAAAAAAAA1\"><v>1</v></c></row>");
    for (const char* target : {"csv", "tsv", "json", "html", "xlsx"}) {
        EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(column, target, {}); }),
                  "„Spalte.xlsx“ hat Zellen außerhalb der Tabellengrenzen (Spalte AAAAAAAAA).")
            << target;
    }
    const std::pair<QByteArray, QString> outside[] = {
        {"<row r=\"2000000000\"><c r=\"A2000000000\"><v>1</v></c></row>", "Zeile 2000000000"},
        {"<row r=\"99999999999999999999999\"/>", "Zeile 99999999999999999999…"},
        {"<row r=\"1048576\"/><row><c><v>1</v></c></row>", "Zeile 1048577"},
        {"<row><c r=\"XFD1\"><v>1</v></c><c><v>2</v></c></row>", "Spalte XFE"},
        {"<row><c r=\"XFE1\"><v>1</v></c></row>", "Spalte XFE"},
    };
    for (const auto& [rows, where] : outside) {
        const QString path = workbook("Grenze.xlsx", rows);
        EXPECT_EQ(errorOf([&] { XLSX::read(path); }),
                  "„Grenze.xlsx“ hat Zellen außerhalb der Tabellengrenzen (" + where + ").")
            << rows.data();
        QFile::remove(path);
    }

    // At the edge, in order or not: 2 cells in a grid of 17 billion.
    const QString sparse = "„Weit.xlsx“ ist zu dünn besetzt: Für 2 Zellen mit Inhalt wären "
                           "1.048.576 Zeilen mit je 16.384 Spalten zu schreiben, fast alle Felder "
                           "leer.";
    for (const QByteArray& rows :
         {QByteArray("<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>"
                     "<row r=\"1048576\"><c r=\"XFD1048576\"><v>2</v></c></row>"),
          QByteArray("<row r=\"1048576\"><c r=\"XFD1048576\"><v>2</v></c></row>"
                     "<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>")}) {
        const QString path = workbook("Weit.xlsx", rows);
        EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(path, "json", {}); }), sparse);
        QFile::remove(path);
    }
    const QString one = workbook("Eine.xlsx", "<row r=\"1048576\"><c r=\"XFD1048576\"/></row>");
    EXPECT_EQ(errorOf([&] { XLSX::read(one); }),
              "„Eine.xlsx“ ist zu dünn besetzt: Für 0 Zellen mit Inhalt wären 1.048.576 Zeilen mit "
              "je 16.384 Spalten zu schreiben, fast alle Felder leer.");

    // The last row and column are fine, and a grid that small is written whatever its gaps.
    QByteArray lastCell;
    EXPECT_EQ(XLSX::stream(workbook("Tief.xlsx", "<row r=\"1048576\"><c><v>1</v></c></row>"),
                           [&](const TableRow& row) { lastCell = row.cell(0).toByteArray(); }),
              1048576);
    EXPECT_EQ(lastCell, "1");
    const TableGrid wide = XLSX::read(workbook(
        "Breit.xlsx", "<row r=\"3\"><c r=\"A3\"><v>a</v></c><c r=\"XFD3\"><v>b</v></c></row>"));
    ASSERT_EQ(wide.size(), 3);
    EXPECT_EQ(wide[2].size(), 16384);
    EXPECT_EQ(wide[2].back(), "b");
    EXPECT_EQ(folder.names().filter(QRegularExpression("\\.(csv|tsv|json|html)$")), QStringList());
}

// A package that promises to unpack to more than a hundredfold its size past 100 MB is not read;
// neither is one whose shared strings, used over and over, would park as much on disk.
TEST(XLSX, PackagesThatUnpackFarBeyondTheirSizeAreNotRead) {
    test::TestFolder folder;
    const QByteArray cache = qgetenv("XDG_CACHE_HOME");
    qputenv("XDG_CACHE_HOME", folder.folder("cache").toUtf8());
    const auto restore = qScopeGuard([&] { qputenv("XDG_CACHE_HOME", cache); });

    const QByteArray spaces(1 << 20, ' ');
    const QByteArray xml = sheetXML("<row><c><v>1</v></c></row>");
    const Part bomb = deflated("xl/worksheets/sheet1.xml",
                               {{xml.first(xml.size() - 12), 1}, {spaces, 101}, {xml.last(12), 1}});
    const QString packed = folder.file("Bombe.xlsx", zipOf({bomb}));
    const qint64 size = QFileInfo(packed).size();
    ASSERT_LT(size * 100, bomb.size);
    EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(packed, "csv", {}); }),
              "„Bombe.xlsx“ würde entpackt 106 MB groß, mehr als das Hundertfache der Datei (" +
                  DiskSpace::sizeText(size) + "), und wird darum nicht gelesen.");

    const QByteArray word(100'000, 'x');
    QByteArray rows;
    for (int i = 1; i <= 1100; ++i)
        rows += "<row><c t=\"s\"><v>0</v></c></row>";
    const QString echo =
        handMadeWorkbook(folder, "Echo.xlsx",
                         {{"xl/sharedStrings.xml", "<sst><si><t>" + word + "</t></si></sst>"},
                          {"xl/worksheets/sheet1.xml", sheetXML(rows)}});
    ASSERT_LT(QFileInfo(echo).size(), 1'000'000);
    EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(echo, "csv", {}); }),
              "„Echo.xlsx“ würde entpackt über 100 MB groß, mehr als das Hundertfache der Datei (" +
                  DiskSpace::sizeText(QFileInfo(echo).size()) + "), und wird darum nicht gelesen.");
    EXPECT_EQ(filesUnder(folder.path("cache")), QStringList());
    EXPECT_EQ(folder.names(), QStringList({"Bombe.xlsx", "Echo.xlsx", "Echo.xlsx.parts", "cache"}));
}

// Spreadsheet programs refuse workbooks past 16,384 columns or 1,048,576 rows, so none is
// written; the refusal comes while the rows stream, and the unfinished result goes.
TEST(XLSX, TablesBeyondTheLimitsOfAWorkbookAreNotWritten) {
    test::TestFolder folder;
    QByteArray wide = "1";
    for (int i = 1; i < 20000; ++i)
        wide += ",1";
    const QString columns = folder.file("Spalten.csv", "a,b\n" + wide + "\n");
    EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(columns, "xlsx", {}); }),
              "Die Tabelle hat mehr Spalten, als eine Excel-Datei fasst (Zeile 2 reicht bis "
              "Spalte 20.000, höchstens 16.384 sind möglich).");
    // Empty cells are not written, so a row may run on past the last column without content.
    const QByteArray trailing = wide.left(2 * 16384 - 1) + QByteArray(3616, ',');
    const QString edge =
        SpreadsheetConverter::convert(folder.file("Rand.csv", trailing + "\n"), "xlsx", {});
    EXPECT_EQ(XLSX::read(edge).front().size(), 16384);

    QByteArray tall;
    tall.reserve(2 * 1'048'577);
    for (int i = 0; i < 1'048'577; ++i)
        tall += "1\n";
    const QString rows = folder.file("Zeilen.csv", tall);
    EXPECT_EQ(errorOf([&] { SpreadsheetConverter::convert(rows, "xlsx", {}); }),
              "Die Tabelle hat mehr Zeilen, als eine Excel-Datei fasst (höchstens 1.048.576).");
    EXPECT_EQ(folder.names(), QStringList({"Rand.csv", "Rand.xlsx", "Spalten.csv", "Zeilen.csv"}));
}

// zip packs in the writer's scratch folder and the package is copied into the destination, so
// the destination may be any file, and a full disk says so.
TEST(XLSX, TheWriterFillsItsDestinationAndSaysWhenTheDiskIsFull) {
    XLSXWriter writer("/dev/full", "Voll.xlsx");
    writer.row(TableRow::from({"a", "1"}));
    EXPECT_EQ(errorOf([&] { writer.finish(); }),
              "„Voll.xlsx“ konnte nicht geschrieben werden: " + SystemError::writeReason(ENOSPC));
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

    // Ours, made from a CSV, opened by Calc and saved as UTF-8 CSV, gives the grid back, long
    // numbers with every digit.
    const TableGrid ours = {{"Name", "Menge", "Notiz"},
                            {"Tee & <Kaffee>", "12", "süß, \"scharf\""},
                            {"Code", "007", "123456789012345"},
                            {"", "-0.5", "Ende"},
                            {"Konto", "12345678901234567890", "0.12345678901234567"}};
    const QString csv =
        folder.file("Ours.csv", SpreadsheetConverter::serialize(ours, u',').toUtf8());
    const QString xlsx = SpreadsheetConverter::convert(csv, "xlsx", {});
    EXPECT_TRUE(unzipped(xlsx, "xl/worksheets/sheet1.xml").contains("<v>123456789012345</v>"));
    convert({"--convert-to", "csv:Text - txt - csv (StarCalc):44,34,76", xlsx});
    EXPECT_EQ(SpreadsheetConverter::read(folder.path("lo/Ours.csv")), ours);

    // Calc's own workbook: shared strings (one repeated), booleans, numbers, gaps, and the
    // dates, times and percentages that Calc recognizes, as Calc shows them.
    folder.file("Calc.csv",
                "Name,Aktiv,Menge,,Name,Datum,Zeit,Termin,Dauer,Anteil\n"
                "Tee,TRUE,2.5,,,2024-05-08,13:45:00,2024-05-08 13:45:30,36:30:00,12.5%\n"
                "\n"
                "Kaffee,FALSE,0.1,,1234567,1999-12-31,23:59:59,2000-02-29 00:00:01,"
                "00:00:05,100%\n"
                "Tee,,,x,\n");
    convert({"--infilter=CSV:44,34,76,1,,1033,false,true", "--convert-to", "xlsx",
             folder.path("Calc.csv")});
    const QString calc = folder.path("lo/Calc.xlsx");
    ASSERT_TRUE(unzipped(calc, "xl/sharedStrings.xml").contains("Kaffee"));
    ASSERT_TRUE(unzipped(calc, "xl/worksheets/sheet1.xml").contains("t=\"b\""));
    EXPECT_EQ(test::readBytes(SpreadsheetConverter::convert(calc, "csv", {})),
              "Name,Aktiv,Menge,,Name,Datum,Zeit,Termin,Dauer,Anteil\n"
              "Tee,WAHR,2.5,,,2024-05-08,13:45:00,2024-05-08 13:45:30,36:30:00,0.125\n"
              ",,,,,,,,,\n"
              "Kaffee,FALSCH,0.1,,1234567,1999-12-31,23:59:59,2000-02-29 00:00:01,00:00:05,1\n"
              "Tee,,,x,,,,,,\n");
}
