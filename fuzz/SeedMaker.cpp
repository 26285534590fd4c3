// Writes a seed corpus for every harness into `folder/<harness>/`, made by the engine's own
// writers (tables, workbooks, settings) and from the CommonMark examples the Markdown tests run,
// so that the fuzzers start from inputs shaped like the real ones.
//   tramix-fuzz-seeds <folder> [CommonMark examples file]
#include "PDF/PageRanges.h"
#include "Settings/AppSettings.h"
#include "Settings/History.h"
#include "Tables/DelimitedWriter.h"
#include "Tables/XLSX.h"
#include "Tables/ZipPackage.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

using namespace tramix;

namespace {

QString root;

void seed(const QString& harness, const QByteArray& bytes) {
    const QString folder = root + u'/' + harness;
    QDir().mkpath(folder);
    QFile file(
        folder + u'/' +
        QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex()));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "Cannot write %s\n", qPrintable(file.fileName()));
        std::exit(1);
    }
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Tables as users have them: quotes, delimiters and line breaks in cells, umlauts, gaps, ragged
// rows, a repeated and an empty header, numbers that look like dates.
const QList<TableGrid> grids = {
    {{"id", "name", "city", "amount", "date"},
     {"1", "Kunde 1", "München", "12.50", "2024-03-01"},
     {"2", "Müller, Jörg", "Köln", "-3", "01.02.2024"},
     {"3", "Notiz mit \"Zitat\"", "Düsseldorf", "1E3", ""}},
    {{"Name", "", "Name", "Spalte 2"}, {"a", "b"}, {"c", "d", "e", "f", "g"}},
    {{"Mehrzeilig"}, {"erste Zeile\nzweite Zeile"}, {"mit\r\nCR LF"}, {"<b>fett</b> & mehr"}},
    {{"a;b", "c\td", "e,f"}, {"1;2", "3\t4", "5,6"}},
    {{"Spalte 10", "spalte 2", "Spalte 1", "ß", "SS"}, {"x", "y", "z", "1", "2"}},
};

QByteArray delimited(const TableGrid& grid, char delimiter) {
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    DelimitedWriter writer(out, QStringLiteral("seed"), delimiter);
    for (const QStringList& row : grid)
        writer.row(TableRow::from(row));
    writer.finish();
    return out.data();
}

// The harnesses' grid encoding: 0x1F ends a cell, 0x1E a row.
QByteArray gridBytes(const TableGrid& grid) {
    QByteArray bytes;
    for (const QStringList& row : grid) {
        for (qsizetype i = 0; i < row.size(); ++i)
            bytes.append(row[i].toUtf8()).append(i + 1 < row.size() ? '\x1F' : '\x1E');
    }
    return bytes;
}

void tables() {
    for (const TableGrid& grid : grids) {
        for (const char delimiter : {',', ';', '\t'}) {
            const QByteArray text = delimited(grid, delimiter);
            const char tsv = delimiter == '\t' ? char(0x80) : 0;
            seed(QStringLiteral("DelimitedFuzzer"), QByteArray(1, char(tsv | 3)) + text);
            seed(QStringLiteral("DelimitedFuzzer"),
                 QByteArray(1, char(tsv | 7)) + QString::fromUtf8(text).toLatin1());
            seed(QStringLiteral("DelimitedFuzzer"), QByteArray(1, char(tsv | 15)) + "\xEF\xBB\xBF" +
                                                        QByteArray(text).replace("\n", "\r\n"));
        }
        seed(QStringLiteral("JSONTableWriterFuzzer"), gridBytes(grid));
        seed(QStringLiteral("HTMLTableWriterFuzzer"), gridBytes(grid));
    }
}

void pageRanges() {
    const QStringList texts = {
        "1-2, 3-5, 6-", "4",   "3–7",   "-3; 5-", " +2 - 4 ",
        "1,,2",         "7-3", "1-2-3", "0",      "99999999999999999999",
        "2-2, 2-2",
    };
    for (const QString& text : texts)
        seed(QStringLiteral("PageRangesFuzzer"), QByteArray("\x00\x09", 2) + text.toUtf8());
    for (const PageRanges::Group& group : {PageRanges::Group{3, 4, 5, 6, 7}, {4}, {1, 3, 8}})
        seed(QStringLiteral("PageRangesFuzzer"),
             QByteArray("\x01\x00", 2) +
                 PageRanges::label(group).mid(PageRanges::germanPrefix.size()).toUtf8());
}

// Examples between fences of 32 backquotes, arrows standing for tabs.
void markdown(const QString& examples) {
    const QString fence = QString(32, u'`');
    QString example;
    bool inside = false;
    for (QString line : QString::fromUtf8(readAll(examples)).split(u'\n')) {
        line.replace(QChar(0x2192), u'\t');
        if (line.startsWith(fence + QStringLiteral(" example"))) {
            inside = true;
            example.clear();
        } else if (inside && line == u".") {
            seed(QStringLiteral("MarkdownFuzzer"), example.toUtf8());
            inside = false;
        } else if (inside) {
            example += line + u'\n';
        }
    }
    const QStringList extensions = {
        "| a | b |\n|:--|--:|\n| 1 | 2 |\n",
        "- [ ] offen\n- [x] erledigt\n",
        "~~weg~~ und www.example.org und mail@example.org\n",
        "[link](javascript:alert(1)) ![bild](data:image/png;base64,AAAA \"Titel\")\n",
        "<script>alert(1)</script>\n\n```c++\nint main() {}\n```\n",
    };
    for (const QString& text : extensions)
        seed(QStringLiteral("MarkdownFuzzer"), text.toUtf8());
}

QByteArray sheetXML(const QByteArray& rows) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><worksheet "
           "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>" +
           rows + "</sheetData></worksheet>";
}

const QByteArray sharedXML =
    "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
    "<si><t>Name</t></si>"
    "<si><r><rPr><b/></rPr><t>fett</t></r><r><t xml:space=\"preserve\"> und normal</t></r></si>"
    "<si><t>A &amp; B</t></si></sst>";

// Typed cells, gaps, rows and cells without references, and the harness's date styles 1 to 5.
const QByteArray handMadeRows =
    "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>1</v></c>"
    "<c r=\"D1\" t=\"s\"><v>2</v></c></row>"
    "<row r=\"3\"><c r=\"A3\" t=\"b\"><v>1</v></c><c r=\"B3\" t=\"b\"><v>0</v></c>"
    "<c r=\"C3\" s=\"1\"><v>45292</v></c><c r=\"D3\" s=\"3\"><v>45292.75</v></c></row>"
    "<row><c t=\"str\"><f>A1</f><v>Name</v></c><c s=\"2\"><v>0.5</v></c><c r=\"E4\"><v>x</v></c>"
    "<c t=\"inlineStr\"><is><t>inline</t></is></c><c t=\"s\"><v>9</v></c>"
    "<c s=\"4\"><v>0.25</v></c><c s=\"5\"><v>1.5E3</v></c><c t=\"e\"><v>#DIV/0!</v></c></row>";

// The workbook our writer makes, its sheet, and one zipped by hand with shared strings.
void workbooks() {
    QTemporaryDir scratch;
    const QString written = scratch.filePath(QStringLiteral("Geschrieben.xlsx"));
    XLSX::write(grids[0] + grids[2], written);
    seed(QStringLiteral("WorkbookFuzzer"), readAll(written));
    ZipPackage package;
    if (package.open(written)) {
        for (const ZipPackage::Entry& entry : package.entries()) {
            if (!entry.name.startsWith(u"xl/worksheets/"))
                continue;
            const std::unique_ptr<ZipPackage::Reader> reader = package.read(entry);
            seed(QStringLiteral("SheetReaderFuzzer"), reader->readAll());
        }
    }
    seed(QStringLiteral("SheetReaderFuzzer"), sheetXML(handMadeRows));
    seed(QStringLiteral("SharedStringsFuzzer"), sharedXML);

    const QDir parts(scratch.filePath(QStringLiteral("parts")));
    parts.mkpath(QStringLiteral("xl/worksheets"));
    const std::pair<QString, QByteArray> files[] = {
        {QStringLiteral("xl/sharedStrings.xml"), sharedXML},
        {QStringLiteral("xl/worksheets/sheet1.xml"), sheetXML(handMadeRows)},
    };
    QStringList names;
    for (const auto& [name, bytes] : files) {
        QFile file(parts.filePath(name));
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
        names.append(name);
    }
    // Once deflated as programs write them, once stored, so the fuzzer can reach the XML.
    for (const QString& level : {QStringLiteral("-6"), QStringLiteral("-0")}) {
        const QString handMade = scratch.filePath(QStringLiteral("Fremd%1.xlsx").arg(level));
        QProcess zip;
        zip.setWorkingDirectory(parts.path());
        zip.start(QStringLiteral("/usr/bin/zip"), QStringList{"-q", "-X", level, handMade} + names);
        if (zip.waitForFinished() && zip.exitCode() == 0)
            seed(QStringLiteral("WorkbookFuzzer"), readAll(handMade));
    }
}

// Settings files as the app writes them after a user's choices, and as hand edits leave them.
void settings() {
    QTemporaryDir scratch;
    const QString store = scratch.filePath(QStringLiteral("Tramix.conf"));
    {
        AppSettings written(store, LoginItem(scratch.filePath(QStringLiteral("entry")),
                                             QStringLiteral("/usr/bin/tramix")));
        written.assign(ModifierKey::option, WheelMode::tools);
        written.assign(ModifierKey::shift, WheelMode::actions);
        written.setActivation(WheelActivation::hold);
        written.setWriteNextToOriginal(false);
        written.setOutputFolder(QStringLiteral("/home/anna/Konvertiert"));
        written.setQuality(0.6);
        written.setPlaySound(false);
        written.setHasSeenWelcome(true);
        written.setWindowGeometry(QStringLiteral("pdfEditor"), QByteArray("\x01\xd9\xd0\xcb", 4));
        History history(store);
        history.add({.title = QStringLiteral("In PNG umwandeln"), .outputs = {"/tmp/a.png"}});
    }
    seed(QStringLiteral("SettingsFuzzer"), readAll(store));
    const QList<QByteArray> handEdited = {
        "[keys]\ntools=option\nwheel=shift\nactions=hyper\n",
        "[General]\nactivation=hold, toggle\nquality=banana\nplaySound=FALSE\n"
        "appearance=dark\nkeys=@Variant(\\0\\0\\0\\b\\0\\0\\0\\0)\ntotalConversions=-5\n",
        "[Desktop Entry]\nType=Application\nExec=/usr/bin/tramix\nHidden=true\n"
        "X-GNOME-Autostart-enabled=false\n",
    };
    for (const QByteArray& text : handEdited)
        seed(QStringLiteral("SettingsFuzzer"), text);
}

void fileNames() {
    const QStringList names = {
        "Photo.JPG",       "Backup.tar.gz", "Makefile", ".profile",      "Notes.rtfd/",
        "clip.MKV",        "main.ts",       "a.b.c",    "data.xyz",      "song.opus",
        "Bericht.docx",    "Tabelle.CSV",   "scan.pdf", "Mappe.xlsx",    "archiv.tgz",
        "README.markdown", "film.ac3",      "x.",       "Übersicht.Odt", "bild.heif",
    };
    for (const QString& name : names)
        seed(QStringLiteral("FileKindFuzzer"), name.toUtf8());
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: tramix-fuzz-seeds FOLDER [CommonMark examples file]\n");
        return 2;
    }
    root = QString::fromLocal8Bit(argv[1]);
    tables();
    pageRanges();
    if (argc > 2)
        markdown(QString::fromLocal8Bit(argv[2]));
    workbooks();
    settings();
    fileNames();
    return 0;
}
