#include "Documents/DocumentConverter.h"

#include "Catalogue/OperationRegistry.h"
#include "JobRunner.h"
#include "TestDocuments.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "TestPDFs.h"
#include "app/App/CliRunner.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tramix;
using namespace tramix::test;

namespace {

// A report with what office documents are made of: a heading, umlauts, a table, a picture
// (beside it, or inside it for LibreOffice to embed) and a second page.
QString reportHTML(const TestFolder& folder, const QString& name, bool pictureInside = true) {
    const QString picture = saveImage(photoLike(120, 80), folder.path("Bild.png"));
    const QString source =
        pictureInside ? "data:image/png;base64," + readBytes(picture).toBase64() : "Bild.png";
    return folder.file(name, QString(R"(<!DOCTYPE html><html><head><meta charset="utf-8">
<title>Bericht</title></head><body><h1>Überschrift Größe</h1>
<p>Ein Absatz mit Umlauten: äöü ß.</p>
<table border="1"><tr><th>Stadt</th><th>Zahl</th></tr><tr><td>Köln</td><td>3</td></tr></table>
<p><img src="%1" width="120" height="80"></p>
<p style="page-break-before: always">Zweite Seite</p></body></html>)")
                                 .arg(source)
                                 .toUtf8());
}

FileOperation operation(const QString& id, const QString& input) {
    for (const FileOperation& each : OperationRegistry::convertOperations({input}))
        if (each.id == id)
            return each;
    ADD_FAILURE() << "no " << id.toStdString();
    return {};
}

QString unzipped(const QString& package, const QString& part) {
    return toolOutput("unzip", {"-p", package, part});
}

// Results sorted by name, failures as "name: sentence".
QStringList outcomesOf(const JobResult& result) {
    QStringList lines;
    for (const QString& output : result.outputs)
        lines.append(QFileInfo(output).fileName());
    for (const JobResult::Failure& failure : result.failures)
        lines.append(QFileInfo(failure.input).fileName() + ": " + failure.message);
    lines.sort();
    return lines;
}

} // namespace

TEST(Documents, OfficeDocumentsKeepTheirStructureInEveryFormat) {
    TestFolder folder;
    const QString docx = officeDocument(reportHTML(folder, "Bericht.html"), "docx");
    const QString odt =
        officeDocument(folder.file("Notiz.html", readBytes(folder.path("Bericht.html"))), "odt");
    const OutputContext context;
    using DocumentConverter::convert;

    const QString pdf = convert(docx, DocumentFormat::pdf, context);
    EXPECT_EQ(pageCountOf(pdf), 2);
    EXPECT_TRUE(textOf(pdf).contains("Überschrift Größe")) << textOf(pdf).toStdString();
    EXPECT_TRUE(textOf(pdf).contains("Köln"));

    // A heading stays a heading and a table a table.
    const QString word = convert(odt, DocumentFormat::docx, context);
    const QString body = unzipped(word, "word/document.xml");
    EXPECT_TRUE(body.contains(R"(<w:pStyle w:val="Heading1"/>)"));
    EXPECT_TRUE(body.contains("<w:tbl>"));
    EXPECT_TRUE(toolOutput("unzip", {"-l", word}).contains("word/media/"));
    // A web page's picture beside it ends up inside the document, not linked to this disk.
    const QString page =
        convert(reportHTML(folder, "Seite.html", false), DocumentFormat::docx, context);
    EXPECT_TRUE(toolOutput("unzip", {"-l", page}).contains("word/media/"));

    EXPECT_TRUE(
        toolOutput("odt2txt", {convert(docx, DocumentFormat::odt, context)}).contains("Köln"));
    const QByteArray rtf = readBytes(convert(docx, DocumentFormat::rtf, context));
    EXPECT_TRUE(rtf.startsWith("{\\rtf1") && rtf.contains("Stadt"));

    // HTML in one file, the picture inside it; text as UTF-8 with line feeds only.
    const QString html = readText(convert(docx, DocumentFormat::html, context));
    EXPECT_TRUE(html.contains("src=\"data:image/")) << html.left(2000).toStdString();
    EXPECT_TRUE(html.contains("Köln"));
    const QByteArray text = readBytes(convert(odt, DocumentFormat::txt, context));
    EXPECT_TRUE(text.startsWith("Überschrift Größe\n")) << text.toStdString();
    EXPECT_FALSE(text.contains('\r'));
    EXPECT_TRUE(text.contains("Köln"));
}

TEST(Documents, ADropGoesThroughOneJobAndBadFilesAreNamedWhileTheOthersFinish) {
    TestFolder folder;
    const QString docx = officeDocument(reportHTML(folder, "Bericht.html"), "docx");
    const QByteArray bytes = readBytes(docx);
    const QStringList inputs = {
        folder.file("a/Brief.docx", bytes),
        folder.file("b/Brief.docx", bytes), // the same name twice must not collide
        folder.file("Notiz.md", "# Notiz\n\nMit **fett** und Ümlaut.\n"),
        folder.file("Liste.txt", "Erste Zeile\nzweite Zeile\n"),
        folder.file("Falsch.docx", "nur Text"),
        folder.file("Kaputt.docx", bytes.left(bytes.size() / 2)),
        folder.file("Leer.rtf", ""),
        folder.path("Gesperrt.odt"),
    };
    // A password-protected ODT: its parts are encrypted, as its manifest declares.
    toolOutput("python3", {"-c", R"(import sys, zipfile
with zipfile.ZipFile(sys.argv[1], 'w') as odt:
    odt.writestr('mimetype', 'application/vnd.oasis.opendocument.text')
    odt.writestr('content.xml', bytes(range(256)) * 8)
    odt.writestr('META-INF/manifest.xml', '<manifest:manifest xmlns:manifest="urn:oasis:names:tc:opendocument:xmlns:manifest:1.0"><manifest:file-entry manifest:full-path="content.xml" manifest:media-type="text/xml"><manifest:encryption-data manifest:checksum-type="SHA1/1K" manifest:checksum="AAAA"/></manifest:file-entry></manifest:manifest>')
)",
                           inputs.last()});
    qsizetype reported = 0;
    const JobResult result = JobRunner::run(operation("convert.document.pdf", docx), inputs,
                                            OutputContext{}, [&](qsizetype done, qsizetype total) {
                                                EXPECT_EQ(done, ++reported);
                                                EXPECT_EQ(total, inputs.size());
                                            });
    EXPECT_EQ(outcomesOf(result),
              QStringList({"Brief.pdf", "Brief.pdf",
                           "Falsch.docx: „Falsch.docx“ ist kein DOCX-Dokument, auch wenn der "
                           "Name das sagt.",
                           "Gesperrt.odt: „Gesperrt.odt“ ist mit einem Passwort geschützt. Bitte "
                           "ohne Passwort speichern und noch einmal versuchen.",
                           "Kaputt.docx: „Kaputt.docx“ ist beschädigt oder kein lesbares Dokument.",
                           "Leer.rtf: „Leer.rtf“ ist leer.", "Liste.pdf", "Notiz.pdf"}));
    EXPECT_EQ(reported, inputs.size());
    EXPECT_TRUE(textOf(folder.path("b/Brief.pdf")).contains("Köln"));
    EXPECT_TRUE(textOf(folder.path("Notiz.pdf")).startsWith("Notiz\nMit fett und Ümlaut."))
        << textOf(folder.path("Notiz.pdf")).toStdString();
    EXPECT_TRUE(textOf(folder.path("Liste.pdf")).contains("Erste Zeile\nzweite Zeile"));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Falsch.pdf")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Kaputt.pdf")));
    EXPECT_EQ(namesIn(folder.path("a")), QStringList({"Brief.docx", "Brief.pdf"}));
}

TEST(Documents, TwoConversionsAtOnceLeaveTheUsersLibreOfficeAlone) {
    TestFolder folder;
    const QString docx = officeDocument(reportHTML(folder, "Bericht.html"), "docx");
    // The user's LibreOffice, with the default profile of a home of its own.
    QProcess users;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", folder.folder("home"));
    environment.remove("XDG_CONFIG_HOME");
    users.setProcessEnvironment(environment);
    users.setChildProcessModifier([] { ::setpgid(0, 0); }); // its launcher and LibreOffice
    users.start("soffice", {"--headless", "--norestore"});
    ASSERT_TRUE(users.waitForStarted());
    const auto userProfileReady = [&] {
        return QFileInfo::exists(folder.path("home/.config/libreoffice/4/user"));
    };
    for (int i = 0; i < 600 && !userProfileReady(); ++i)
        users.waitForFinished(50);

    QProcess first, second;
    first.start(TRAMIX_BINARY, {"--run", "convert.document.pdf", docx});
    second.start(TRAMIX_BINARY,
                 {"--run", "convert.document.odt", folder.file("Zweiter.txt", "Hallo Welt")});
    EXPECT_TRUE(first.waitForFinished(120000) && second.waitForFinished(120000));
    EXPECT_EQ(first.exitCode(), 0) << first.readAllStandardError().toStdString();
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    EXPECT_EQ(pageCountOf(folder.path("Bericht.pdf")), 2);
    EXPECT_TRUE(toolOutput("odt2txt", {folder.path("Zweiter.odt")}).contains("Hallo Welt"));
    EXPECT_EQ(users.state(), QProcess::Running) << "the user's LibreOffice was ended";
    ::kill(-pid_t(users.processId()), SIGKILL);
    users.waitForFinished();
}

// A PDF made by our own engine comes back as an editable document, not one box per line.
TEST(Documents, PDFsBecomeEditableDocumentsWithHeadingsListsAndWholeParagraphs) {
    TestFolder folder;
    const QString paragraph = "Dieser Absatz ist lang genug, um über mehrere Zeilen zu laufen, "
                              "damit das Zusammenfügen von Zeilen geprüft wird, mit Umlauten.";
    const QString markdown = folder.file("Bericht.md", ("# Jahresbericht\n\n" + paragraph +
                                                        "\n\n## Ziele\n\n- erstes Ziel\n"
                                                        "- zweites Ziel\n")
                                                           .toUtf8());
    const OutputContext context;
    const QString pdf = DocumentConverter::convert(markdown, DocumentFormat::pdf, context);
    const QString body = unzipped(DocumentConverter::convert(pdf, DocumentFormat::docx, context),
                                  "word/document.xml");
    EXPECT_TRUE(body.contains(R"(<w:pStyle w:val="Heading1"/>)"));
    EXPECT_TRUE(body.contains(R"(<w:pStyle w:val="Heading2"/>)"));
    EXPECT_EQ(body.count("<w:numPr>"), 2) << "two list items";
    EXPECT_TRUE(body.contains(">" + paragraph + "<")) << "the wrapped lines as one paragraph";
    const QString html = readText(DocumentConverter::convert(pdf, DocumentFormat::html, context));
    EXPECT_TRUE(html.contains("<h1>Jahresbericht</h1>")) << html.toStdString();
    EXPECT_EQ(errorOf([&] {
                  DocumentConverter::convert(folder.file("Leer.pdf", pagesPDF({})),
                                             DocumentFormat::rtf, context);
              }),
              "Im PDF wurde kein Text gefunden.");
}
