#include "Archives/ArchiveConverter.h"

#include "Catalogue/OperationRegistry.h"
#include "ConversionError.h"
#include "JobRunner.h"
#include "TestFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tramix;
using ArchiveConverter::Kind;
using test::errorOf;
using test::readText;
using test::toolOutput;

namespace {

// The entry names of an archive, sorted, folders with their trailing "/" as the tools list them.
QStringList entries(const QString& archive) {
    const QString listing = archive.endsWith(".zip")
                                ? toolOutput("/usr/bin/unzip", {"-Z1", archive})
                                : toolOutput("/usr/bin/tar", {"-tf", archive});
    QStringList names = listing.split(u'\n', Qt::SkipEmptyParts);
    names.sort();
    return names;
}

// Everything under `folder`, relative and sorted; links are listed as "name -> target".
QStringList tree(const QString& folder) {
    QStringList names;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        const QString name = QDir(folder).relativeFilePath(info.filePath());
        names.append(info.isSymLink() ? name + " -> " + info.symLinkTarget() : name);
    }
    names.sort();
    return names;
}

// Archives that our own tools would refuse to write are made with Python's archive modules.
void python(const QString& folder, const QString& script) {
    toolOutput("/usr/bin/python3", {"-c", "import io, stat, tarfile, zipfile\n" + script}, folder);
}

} // namespace

TEST(ArchiveConverter, CompressNamesTheArchiveAfterOneInputOrCallsItArchiv) {
    test::TestFolder folder;
    const QString a = folder.file("a.txt", "A");
    const QString b = folder.file("-b.txt", "B");
    folder.file(".DS_Store", "finder");
    const QString photos = folder.folder("Fotos");
    folder.file("Fotos/urlaub.jpg", "jpg");
    folder.file("Fotos/sub/.DS_Store", "finder");
    QFile::link("urlaub.jpg", folder.path("Fotos/link.jpg"));
    const QString other = folder.file("anders/c.txt");
    const auto error = [&](const QStringList& inputs, Kind kind, const OutputContext& context) {
        return errorOf([&] { ArchiveConverter::compress(inputs, kind, context); });
    };

    for (const Kind kind : {Kind::zip, Kind::tgz}) {
        const QString ext = ArchiveConverter::extension(kind);
        // Several inputs: Archiv next to them, then the next free name.
        const QString first = ArchiveConverter::compress({a, b}, kind, {});
        EXPECT_EQ(first, folder.path("Archiv." + ext));
        EXPECT_EQ(entries(first), QStringList({"-b.txt", "a.txt"}));
        EXPECT_EQ(ArchiveConverter::compress({a, b}, kind, {}), folder.path("Archiv 2." + ext));
        // One folder keeps its own name as the top entry; Finder files stay out and links
        // stay links.
        const QString packed = ArchiveConverter::compress({photos}, kind, {});
        EXPECT_EQ(packed, folder.path("Fotos." + ext));
        EXPECT_EQ(entries(packed),
                  QStringList({"Fotos/", "Fotos/link.jpg", "Fotos/sub/", "Fotos/urlaub.jpg"}));
        const QString out = folder.folder("Ausgabe " + ext);
        EXPECT_EQ(ArchiveConverter::compress({a}, kind, {out, 0.85}), out + "/a." + ext);

        EXPECT_EQ(error({a, other}, kind, {}),
                  "Nicht unterstützt: Dateien aus verschiedenen Ordnern");
        EXPECT_EQ(error({}, kind, {}), "Keine Dateien.");
        EXPECT_EQ(error({a, folder.path("weg.txt")}, kind, {}),
                  "„weg.txt“ konnte nicht gelesen werden.");
        // A tool that fails leaves no archive behind, not even its temporary file.
        EXPECT_NE(error({a}, kind, {folder.path("nie"), 1}), "(no error)");
    }
    const QString unpacked = folder.folder("entpackt");
    toolOutput("/usr/bin/unzip", {"-q", folder.path("Fotos.zip"), "-d", unpacked});
    EXPECT_TRUE(QFileInfo(unpacked + "/Fotos/link.jpg").isSymLink());
    EXPECT_EQ(folder.names(),
              QStringList({"-b.txt", ".DS_Store", "Archiv 2.tar.gz", "Archiv 2.zip",
                           "Archiv.tar.gz", "Archiv.zip", "Ausgabe tar.gz", "Ausgabe zip", "Fotos",
                           "Fotos.tar.gz", "Fotos.zip", "a.txt", "anders", "entpackt"}));
}

TEST(ArchiveConverter, ExtractMakesAFolderNamedAfterTheArchive) {
    test::TestFolder folder;
    const QString source = folder.folder("quelle");
    folder.file("quelle/Dokumente/brief.txt", "Hallo");
    folder.file("quelle/notiz.txt", "Notiz");
    QFile::link("Dokumente/brief.txt", folder.path("quelle/verweis"));
    const QStringList names = {"Dokumente", "notiz.txt", "verweis"};
    toolOutput("/usr/bin/tar",
               QStringList{"-czf", folder.path("Backup.TAR.GZ"), "-C", source} + names);
    toolOutput("/usr/bin/tar", QStringList{"-cf", folder.path("Alt.tar"), "-C", source} + names);
    toolOutput("/usr/bin/zip", QStringList{"-q", "-r", "-y", folder.path("Fotos.zip")} + names,
               source);

    const QString backup = ArchiveConverter::extract(folder.path("Backup.TAR.GZ"), {});
    EXPECT_EQ(backup, folder.path("Backup"));
    EXPECT_EQ(tree(backup), QStringList({"Dokumente", "Dokumente/brief.txt", "notiz.txt",
                                         "verweis -> " + backup + "/Dokumente/brief.txt"}));
    EXPECT_EQ(readText(backup + "/Dokumente/brief.txt"), "Hallo");
    EXPECT_EQ(ArchiveConverter::extract(folder.path("Backup.TAR.GZ"), {}), folder.path("Backup 2"));
    EXPECT_EQ(readText(ArchiveConverter::extract(folder.path("Alt.tar"), {}) + "/notiz.txt"),
              "Notiz");

    const QString out = folder.path("Ziel/tief");
    const QString photos = ArchiveConverter::extract(folder.path("Fotos.zip"), {out, 0.85});
    EXPECT_EQ(photos, out + "/Fotos");
    EXPECT_EQ(readText(photos + "/Dokumente/brief.txt"), "Hallo");
    EXPECT_TRUE(QFileInfo(photos + "/verweis").isSymLink());
    // Nothing but the results: no working folders are left beside them.
    EXPECT_EQ(test::namesIn(out), QStringList({"Fotos"}));
    EXPECT_EQ(folder.names(), QStringList({"Alt", "Alt.tar", "Backup", "Backup 2", "Backup.TAR.GZ",
                                           "Fotos.zip", "Ziel", "quelle"}));
}

TEST(ArchiveConverter, RepackTurnsEachKindIntoTheOtherAndCleansUp) {
    test::TestFolder folder;
    const QString temp = folder.folder("tmp");
    const QByteArray oldTemp = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(temp));
    const auto restore = qScopeGuard([&] { qputenv("TMPDIR", oldTemp); });

    folder.file("quelle/Fotos/a.jpg", "a");
    folder.file("quelle/Fotos/b.jpg", "b");
    folder.file("quelle/__MACOSX/._a.jpg", "fork");
    folder.file("quelle/.DS_Store", "finder");
    const QString source = folder.path("quelle");
    const auto at = [&](const QString& name) { return folder.path(name); };
    toolOutput("/usr/bin/zip", {"-q", "-r", at("Fotos.zip"), "Fotos", "__MACOSX"}, source);
    toolOutput("/usr/bin/tar", {"-czf", at("Fotos.tgz"), "-C", source, "Fotos", ".DS_Store"});
    toolOutput("/usr/bin/tar", {"-cf", at("Zwei.tar"), "-C", source + "/Fotos", "a.jpg", "b.jpg"});
    toolOutput("/usr/bin/zip", {"-q", "-r", at("Mac.zip"), "__MACOSX"}, source);
    toolOutput("/usr/bin/tar", {"-czf", at("Mac.tar.gz"), "-C", source, "__MACOSX"});

    // Mac metadata and Finder files are left out; several top entries stay at the top.
    const QStringList fotos{"Fotos/", "Fotos/a.jpg", "Fotos/b.jpg"}, two{"a.jpg", "b.jpg"};
    const std::tuple<QString, Kind, QString, QStringList> cases[] = {
        {"Fotos.zip", Kind::tgz, "Fotos.tar.gz", fotos},
        {"Fotos.tgz", Kind::zip, "Fotos 2.zip", fotos},
        {"Zwei.tar", Kind::zip, "Zwei.zip", two},
        {"Zwei.zip", Kind::tgz, "Zwei.tar.gz", two},
    };
    for (const auto& [input, kind, output, content] : cases) {
        const QString repacked = ArchiveConverter::repack(at(input), kind, {});
        EXPECT_EQ(repacked, at(output));
        EXPECT_EQ(entries(repacked), content) << output.toStdString();
    }

    // An archive of nothing but Mac metadata is empty, for extraction and repacking alike.
    EXPECT_EQ(errorOf([&] { ArchiveConverter::repack(at("Mac.zip"), Kind::tgz, {}); }),
              "Das Archiv ist leer.");
    EXPECT_EQ(errorOf([&] { ArchiveConverter::repack(at("Mac.tar.gz"), Kind::zip, {}); }),
              "Das Archiv ist leer.");
    EXPECT_EQ(errorOf([&] { ArchiveConverter::extract(at("Mac.zip"), {}); }),
              "Das Archiv ist leer.");
    EXPECT_EQ(folder.names(),
              QStringList({"Fotos 2.zip", "Fotos.tar.gz", "Fotos.tgz", "Fotos.zip", "Mac.tar.gz",
                           "Mac.zip", "Zwei.tar", "Zwei.tar.gz", "Zwei.zip", "quelle", "tmp"}));
    // Every working folder is gone again, after successes and failures.
    EXPECT_EQ(test::namesIn(temp), QStringList());
}

TEST(ArchiveConverter, BadArchivesFailWithTheirSentenceWhileTheOthersFinish) {
    test::TestFolder folder;
    folder.file("quelle/x.txt", "x");
    toolOutput("/usr/bin/zip", {"-q", folder.path("Gut.zip"), "x.txt"}, folder.path("quelle"));
    folder.file("Kaputt.zip", "PK\x03\x04 not really a zip");
    folder.file("Kaputt.tar.gz", "\x1f\x8b broken gzip");
    python(folder.path("."), "zipfile.ZipFile('Leer.zip', 'w').close()");
    const QStringList inputs{folder.path("Kaputt.zip"), folder.path("Gut.zip"),
                             folder.path("Kaputt.tar.gz"), folder.path("Leer.zip")};
    const FileOperation extract = OperationRegistry::convertOperations({inputs[1]}).first();
    ASSERT_EQ(extract.id, "convert.archive.extract");

    const JobResult result = JobRunner::run(extract, inputs, {});
    EXPECT_EQ(result.outputs, QStringList({folder.path("Gut")}));
    QMap<QString, QString> messages;
    for (const JobResult::Failure& failure : result.failures)
        messages[QFileInfo(failure.input).fileName()] = failure.message;
    EXPECT_EQ(messages.keys(), QStringList({"Kaputt.tar.gz", "Kaputt.zip", "Leer.zip"}));
    EXPECT_TRUE(messages["Kaputt.zip"].contains("End-of-central-directory signature not found"))
        << messages["Kaputt.zip"].toStdString();
    EXPECT_TRUE(messages["Kaputt.tar.gz"].contains("gzip: stdin"));
    EXPECT_EQ(messages["Leer.zip"], "Das Archiv ist leer.");
    // Only the good archive left a folder; no working folders remain.
    EXPECT_EQ(folder.names(),
              QStringList({"Gut", "Gut.zip", "Kaputt.tar.gz", "Kaputt.zip", "Leer.zip", "quelle"}));
}

TEST(ArchiveConverter, HostileArchivesNeverReachOutsideTheirNewFolder) {
    test::TestFolder folder;
    const QString outside = folder.folder("draussen");
    const QString work = folder.folder("arbeit");
    python(work, R"(
def link(name, target, kind=tarfile.SYMTYPE):
    info = tarfile.TarInfo(name)
    info.type, info.linkname = kind, target
    return info
def file(name, data=b'boese', mode=0o644):
    info = tarfile.TarInfo(name)
    info.size, info.mode = len(data), mode
    return info, io.BytesIO(data)
def tar(name, *members):
    with tarfile.open(name, 'w:gz') as archive:
        for member in members:
            archive.addfile(*member) if isinstance(member, tuple) else archive.addfile(member)
def zipped(name, *members):
    with zipfile.ZipFile(name, 'w') as archive:
        for entry, data, is_link in members:
            info = zipfile.ZipInfo(entry)
            if is_link:
                info.create_system, info.external_attr = 3, (stat.S_IFLNK | 0o777) << 16
            archive.writestr(info, data)
folder = tarfile.TarInfo('gesperrt')
folder.type, folder.mode = tarfile.DIRTYPE, 0o555
tar('Punkte.tar.gz', folder, file('gesperrt/drin.txt'), file('../draussen/boese.txt'))
tar('Passwort.tar.gz', file('harmlos.txt'), link('passwd', '/etc/passwd'))
tar('Durch.tar.gz', link('tor', '../draussen'), file('tor/boese.txt'))
tar('Hart.tar.gz', link('hart', '/etc/passwd', tarfile.LNKTYPE))
tar('Absolut.tar.gz', file(')" +
                     outside + R"(/absolut.txt'))
zipped('Punkte.zip', ('ok.txt', 'ok', False), ('../draussen/boese.txt', 'boese', False))
zipped('Passwort.zip', ('passwd', '/etc/passwd', True))
zipped('Schleife.zip', ('ich', '.', True), ('weg', 'ich/../Passwort.zip', True))
zipped('Durch.zip', ('tor', ')" +
                     outside + R"(', True), ('tor/boese.txt', 'boese', False))
zipped('Absolut.zip', (')" +
                     outside + R"(/absolut.txt', 'boese', False))
)");
    const QStringList archives = test::namesIn(work);
    ASSERT_EQ(archives.size(), 10);

    for (const QString& name : archives) {
        try {
            const QString result = ArchiveConverter::extract(work + "/" + name, {});
            // The tools strip leading slashes and "../" or refuse such entries; what did come
            // out lies inside, and no link leads out of it.
            EXPECT_TRUE(name == "Absolut.tar.gz" || name == "Punkte.zip") << name.toStdString();
            for (const QString& entry : tree(result))
                EXPECT_FALSE(entry.contains(" -> ")) << entry.toStdString();
        } catch (const ConversionError&) {
        }
    }
    // Nothing ever lands outside, and there is no link to /etc/passwd to write through later.
    EXPECT_EQ(tree(outside), QStringList());
    EXPECT_EQ(errorOf([&] { ArchiveConverter::extract(work + "/Passwort.tar.gz", {}); }),
              "„Passwort.tar.gz“ wurde nicht entpackt: Der Verweis „passwd“ zeigt aus dem Archiv "
              "hinaus.");
    EXPECT_EQ(
        errorOf([&] { ArchiveConverter::extract(work + "/Schleife.zip", {}); }),
        "„Schleife.zip“ wurde nicht entpackt: Der Verweis „weg“ zeigt aus dem Archiv hinaus.");
    // A refused archive leaves no folder.
    QStringList left = archives + QStringList{"Absolut", "Punkte"};
    left.sort();
    EXPECT_EQ(test::namesIn(work), left);
    EXPECT_EQ(tree(work + "/Punkte"), QStringList({"draussen", "draussen/boese.txt", "ok.txt"}));
    EXPECT_EQ(readText(work + "/Absolut" + outside + "/absolut.txt"), "boese");

    // A stranger's set-user-ID program comes out as the user's own plain file, also for root.
    const QString foreign = folder.folder("fremd");
    python(foreign, R"(
info = tarfile.TarInfo('werkzeug')
info.size, info.mode, info.uid, info.gid = 5, 0o6755, 4321, 4321
with tarfile.open('Fremd.tar', 'w') as archive:
    archive.addfile(info, io.BytesIO(b'boese'))
)");
    const QByteArray tool =
        QFile::encodeName(ArchiveConverter::extract(foreign + "/Fremd.tar", {}) + "/werkzeug");
    struct stat status {};
    ASSERT_EQ(stat(tool.constData(), &status), 0);
    EXPECT_EQ(status.st_uid, getuid());
    EXPECT_EQ(status.st_gid, getgid());
    EXPECT_EQ(status.st_mode & (S_ISUID | S_ISGID), 0u);
    EXPECT_TRUE(status.st_mode & S_IXUSR);
}
