#include "Catalogue/OperationRegistry.h"
#include "CliRunner.h"
#include "Tables/XLSX.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace tramix;
using namespace tramix::test;

namespace {

QString joined(const QStringList& lines) {
    return lines.join(u'\n') + u'\n';
}

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

// One line per operation: id, title and detail, tab-separated.
QString listing(const QList<FileOperation>& operations) {
    QString out;
    for (const FileOperation& operation : operations)
        out += operation.id + u'\t' + operation.title + u'\t' + operation.detail + u'\n';
    return out;
}

} // namespace

TEST(CLI, ListPrintsTheWheelsOperationsInCatalogueOrderOneLineEach) {
    // The mode word, then the files.
    const std::pair<QStringList, WheelMode> cases[] = {
        {{"convert", "a.jpg", "b.png"}, WheelMode::convert},
        {{"tools", "x.PNG"}, WheelMode::tools},
        {{"actions", "notes.txt"}, WheelMode::actions},
        {{"convert", "a.csv", "b.CSV"}, WheelMode::convert},
        // An unknown mode word is not an error: it lists the conversions.
        {{"formats", "a.jpg", "b.png"}, WheelMode::convert},
    };
    for (const auto& [args, mode] : cases) {
        const auto listed = runTramix(QStringList{"--list"} + args);
        EXPECT_EQ(listed.status, 0) << args.join(' ').toStdString();
        EXPECT_EQ(listed.out, listing(OperationRegistry::operations(mode, args.mid(1))));
    }
    EXPECT_EQ(runTramix({"--list", "convert", "a.jpg"}).lines().value(0),
              "convert.image.png\tPNG\tIn PNG umwandeln");
    // Nothing fits: nothing printed, and that is no failure.
    const auto nothing = runTramix({"--list", "convert", "a.jpg", "b.pdf"});
    EXPECT_EQ(nothing.status, 0);
    EXPECT_EQ(nothing.out, "");

    // Relative paths are taken from the working folder.
    TestFolder folder;
    folder.folder("Fotos");
    EXPECT_EQ(
        runTramix({"--list", "convert", "Fotos"}, folder.path(".")).out,
        joined({"archive.zip\tZIP\tAls ZIP packen", "archive.tgz\tTAR.GZ\tAls TAR.GZ packen"}));
}

TEST(CLI, UsageAndLookupFailuresPrintFehlerAndExitWithOne) {
    const std::pair<QStringList, QString> cases[] = {
        {{"--list", "convert"}, "Fehler: --list <convert|tools|actions> <dateien…>"},
        {{"--list"}, "Fehler: --list <convert|tools|actions> <dateien…>"},
        {{"--run", "convert.image.png"}, "Fehler: --run <operation-id> <dateien…>"},
        {{"--run", "convert.image.png", "a.pdf", "b.docx"},
         "Fehler: Operation convert.image.png passt nicht zu diesen Dateien."},
        // Actions are reachable, but what needs the desktop says so.
        {{"--run", "action.copy", "a.jpg"},
         "Fehler: Die Aktion „KOPIEREN“ braucht die Zwischenablage des Desktops und geht nur in "
         "der laufenden Tramix-App, nicht in der Befehlszeile."},
        {{"--frobnicate", "x"}, "Fehler: Unbekannter Befehl --frobnicate"},
        {{"--LIST", "convert", "a.jpg"}, "Fehler: Unbekannter Befehl --LIST"},
        {{"--HELP"}, "Fehler: Unbekannter Befehl --HELP"},
        {{"--render-icon"}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-menu"}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-shelf"}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-menubar-icon"}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-wheel", "tools"}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-welcome"}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-settings", ""}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-scene"}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-og", ""}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-dmg-background"}, "Fehler: Ausgabepfad fehlt."},
        {{"--render-editor", "crop"}, "Fehler: --render-editor <art> out.png dateien… [dark]"},
        {{"--render-editor", "collage", "out.png"}, "Fehler: Unbekannter Editor collage"},
    };
    for (const auto& [args, expected] : cases) {
        const auto result = runTramix(args);
        EXPECT_EQ(result.status, 1) << args.join(' ').toStdString();
        EXPECT_EQ(result.out, expected + u'\n') << args.join(' ').toStdString();
    }

    TestFolder folder;
    const QString unwritten = folder.path("never-written.png");
    const auto unreadable = runTramix({"--render-editor", "pdf-split", unwritten, "a.pdf"});
    EXPECT_EQ(unreadable.status, 1);
    EXPECT_EQ(unreadable.out, "Fehler: Rendern fehlgeschlagen.\n");
    EXPECT_FALSE(QFileInfo::exists(unwritten));
}

TEST(CLI, RunPrintsOutputsThenFailuresThenTheDurationThenTheCount) {
    TestFolder folder;
    saveImage(halves(20, 10, red, blue), folder.path("Urlaub.jpg"));
    folder.file("sub/Strand.jpeg", "no image at all");
    folder.file("sub/Meer.jpg", "neither");
    const auto result =
        runTramix({"--run", "convert.image.png", "Urlaub.jpg", "sub/Strand.jpeg", "sub/Meer.jpg"},
                  folder.path("."));
    EXPECT_EQ(result.status, 1);
    const QStringList lines = result.lines();
    ASSERT_EQ(lines.size(), 5) << result.out.toStdString();

    EXPECT_EQ(lines[0], folder.path("Urlaub.png"));
    EXPECT_TRUE(QFileInfo(lines[0]).isFile());
    // Failures come in completion order, one line per input, named by file name only.
    QStringList failures = lines.mid(1, 2);
    failures.sort();
    EXPECT_EQ(failures, QStringList({"FEHLER Meer.jpg: „Meer.jpg“ konnte nicht gelesen werden.",
                                     "FEHLER Strand.jpeg: „Strand.jpeg“ konnte nicht gelesen "
                                     "werden."}));
    EXPECT_TRUE(QRegularExpression("^Dauer: (\\d+ ms|\\d+\\.\\d s)$").match(lines[3]).hasMatch())
        << lines[3].toStdString();
    EXPECT_EQ(lines[4], "Fehler: 2 Fehler");
    // A failed conversion leaves nothing behind.
    EXPECT_FALSE(QFileInfo::exists(folder.path("sub/Strand.png")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("sub/Meer.png")));
}

TEST(CLI, ProcessesConvertingIntoOneFolderAtOnceNeverShareAName) {
    constexpr int processes = 16;
    // Sixteen sanitized programs on two cores: generous, and only spent when something hangs.
    constexpr qint64 patienceMs = 100'000;
    TestFolder folder;
    saveImage(photoLike(800, 600), folder.path("same.jpg"));
    std::vector<std::unique_ptr<QProcess>> running;
    for (int i = 0; i < processes; ++i) {
        running.push_back(std::make_unique<QProcess>());
        running.back()->setWorkingDirectory(folder.path("."));
        running.back()->start(QStringLiteral(TRAMIX_BINARY),
                              {"--run", "convert.image.png", "same.jpg"});
    }
    const QDeadlineTimer deadline(patienceMs);
    QStringList printed;
    for (const auto& process : running) {
        ASSERT_TRUE(process->waitForFinished(int(deadline.remainingTime())));
        const QString out = QString::fromUtf8(process->readAllStandardOutput());
        EXPECT_EQ(process->exitCode(), 0) << out.toStdString();
        printed.append(out.section(u'\n', 0, 0));
    }

    QStringList expected{"same.jpg", "same.png"};
    for (int n = 2; n <= processes; ++n)
        expected.append(QStringLiteral("same %1.png").arg(n));
    expected.sort();
    EXPECT_EQ(QDir(folder.path(".")).entryList(QDir::Files | QDir::Hidden, QDir::Name), expected)
        << "no temporary file is left";
    QStringList written;
    for (const QString& path : printed)
        written.append(QFileInfo(path).fileName());
    written.append("same.jpg");
    written.sort();
    EXPECT_EQ(written, expected) << "each program names the file it wrote itself";
    const QByteArray whole = contents(folder.path("same.png"));
    for (const QString& path : printed)
        EXPECT_EQ(contents(path), whole) << path.toStdString();
}

TEST(CLI, RunConvertsMarkdownAndPacksUnpacksAndRepacksArchives) {
    TestFolder folder;
    folder.file("Notizen.md", "# Liste\n\n- **eins**\n- <zwei>\n");
    folder.file("Projekt/README.md", "Hallo");
    folder.file("Projekt/src/main.c", "int main(void) { return 0; }");

    // Markdown to HTML, and folder → ZIP → TAR.GZ → folder, each step by its own command.
    const std::pair<QStringList, QString> steps[] = {
        {{"convert.document.html", "Notizen.md"}, "Notizen.html"},
        {{"archive.zip", "Projekt"}, "Projekt.zip"},
        {{"convert.archive.tgz", "Projekt.zip"}, "Projekt.tar.gz"},
        {{"convert.archive.extract", "Projekt.tar.gz"}, "Projekt 2"},
    };
    for (const auto& [args, output] : steps) {
        const auto step = runTramix(QStringList{"--run"} + args, folder.path("."));
        EXPECT_EQ(step.status, 0) << step.out.toStdString();
        EXPECT_EQ(step.lines().value(0), folder.path(output));
    }
    EXPECT_TRUE(contents(folder.path("Notizen.html"))
                    .contains("<h1>Liste</h1>\n<ul>\n<li><strong>eins</strong></li>\n"
                              "<li>&lt;zwei&gt;</li>\n</ul>"));
    EXPECT_EQ(contents(folder.path("Projekt 2/Projekt/src/main.c")),
              "int main(void) { return 0; }");

    // Two archives at once: the damaged one gets its line, the good one its result.
    folder.file("Kaputt.zip", "kein Archiv");
    const auto both = runTramix({"--run", "convert.archive.zip", "Kaputt.zip", "Projekt.tar.gz"},
                                folder.path("."));
    EXPECT_EQ(both.status, 1);
    const QStringList lines = both.lines();
    ASSERT_GE(lines.size(), 2) << both.out.toStdString();
    EXPECT_EQ(lines[0], folder.path("Projekt 2.zip"));
    EXPECT_TRUE(lines[1].startsWith("FEHLER Kaputt.zip: ")) << lines[1].toStdString();
    EXPECT_FALSE(QFileInfo::exists(folder.path("Kaputt 2.zip")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Kaputt")));
}

TEST(TableCLI, ConvertsEachKindOfTableAndReportsBadOnesWhileTheOthersFinish) {
    TestFolder folder;
    folder.file("Kunden.csv",
                "Name;Ort;Umsatz\nM\xFCller;K\xF6ln;1200.50\nSchmidt;\"Bonn; Rhein\";7\n");
    folder.file("Daten.tsv", "id\turl\n1\thttps://example.org/a\n");
    XLSX::write({{"Spalte", "", "Wert"}, {"a", "b", "3"}}, folder.path("Mappe.xlsx"));
    folder.file("Kaputt.xlsx", "not a workbook");
    folder.file("Leer.csv", "\n");

    const auto json = runTramix({"--run", "convert.sheet.json", "Kunden.csv", "Daten.tsv",
                                 "Mappe.xlsx", "Kaputt.xlsx", "Leer.csv"},
                                folder.path("."));
    EXPECT_EQ(json.status, 1);
    QStringList lines = json.lines();
    ASSERT_EQ(lines.size(), 7) << json.out.toStdString();
    QStringList outputs = lines.mid(0, 3);
    outputs.sort();
    EXPECT_EQ(outputs, QStringList({folder.path("Daten.json"), folder.path("Kunden.json"),
                                    folder.path("Mappe.json")}));
    QStringList failures = lines.mid(3, 2);
    failures.sort();
    EXPECT_EQ(failures, QStringList({"FEHLER Kaputt.xlsx: Die Excel-Datei ist beschädigt.",
                                     "FEHLER Leer.csv: Die Tabelle ist leer."}));
    EXPECT_EQ(lines[6], "Fehler: 2 Fehler");
    EXPECT_FALSE(QFileInfo::exists(folder.path("Kaputt.json")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Leer.json")));

    const QJsonArray customers =
        QJsonDocument::fromJson(contents(folder.path("Kunden.json"))).array();
    ASSERT_EQ(customers.size(), 2);
    EXPECT_EQ(customers[0].toObject()["Name"].toString(), "Müller");
    EXPECT_EQ(customers[1].toObject()["Ort"].toString(), "Bonn; Rhein");

    // Into a workbook and back out as CSV, as HTML and as TSV.
    const auto xlsx = runTramix({"--run", "convert.sheet.xlsx", "Kunden.csv"}, folder.path("."));
    ASSERT_EQ(xlsx.status, 0) << xlsx.out.toStdString();
    EXPECT_EQ(xlsx.lines().first(), folder.path("Kunden.xlsx"));
    EXPECT_EQ(XLSX::read(folder.path("Kunden.xlsx")), TableGrid({{"Name", "Ort", "Umsatz"},
                                                                 {"Müller", "Köln", "1200.5"},
                                                                 {"Schmidt", "Bonn; Rhein", "7"}}));
    for (const char* target : {"csv", "html", "tsv"}) {
        const auto back = runTramix({"--run", QString("convert.sheet.") + target, "Kunden.xlsx"},
                                    folder.path("."));
        EXPECT_EQ(back.status, 0) << back.out.toStdString();
    }
    EXPECT_EQ(contents(folder.path("Kunden.csv")).size(), 60); // the source is untouched
    EXPECT_EQ(contents(folder.path("Kunden 2.csv")),
              "Name,Ort,Umsatz\nMüller,Köln,1200.5\nSchmidt,Bonn; Rhein,7\n");
    EXPECT_TRUE(contents(folder.path("Kunden.html")).contains("<td>Müller</td>"));
    EXPECT_EQ(contents(folder.path("Kunden.tsv")),
              "Name\tOrt\tUmsatz\nMüller\tKöln\t1200.5\nSchmidt\tBonn; Rhein\t7\n");
}
