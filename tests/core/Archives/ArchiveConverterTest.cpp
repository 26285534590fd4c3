#include "Archives/ArchiveConverter.h"

#include "Catalogue/OperationRegistry.h"
#include "ChildProcess.h"
#include "ConversionError.h"
#include "JobRunner.h"
#include "TestFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tramix;
using test::errorOf;

namespace {

QString output(const QString& program, const QStringList& arguments, const QString& folder = {}) {
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    process.waitForFinished(60000);
    EXPECT_EQ(process.exitCode(), 0)
        << program.toStdString() << " " << arguments.join(' ').toStdString() << ": "
        << process.readAllStandardError().toStdString();
    return QString::fromUtf8(process.readAllStandardOutput());
}

// The entry names of an archive, sorted, folders with their trailing "/" as the tools list them.
QStringList entries(const QString& archive) {
    const QString listing = archive.endsWith(".zip") ? output("/usr/bin/unzip", {"-Z1", archive})
                                                     : output("/usr/bin/tar", {"-tf", archive});
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

QString contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Archives that our own tools would refuse to write are made with Python's archive modules.
void python(const QString& folder, const QString& script) {
    output("/usr/bin/python3", {"-c", "import io, stat, tarfile, zipfile\n" + script}, folder);
}

QStringList visibleNames(const QString& folder) {
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

TEST(ArchiveConverter, RunReportsTheToolsOwnErrorTextOrNamesTheSilentTool) {
    test::TestFolder folder;
    const QString sh = QStringLiteral("/bin/sh");

    // Working folder and merged environment reach the child; standard output is discarded.
    ChildProcess::run(sh, {"-c", "echo noise; printf %s \"$TRAMIX_PROBE\" > probe"},
                      folder.path(""), [] {
                          QProcessEnvironment extra;
                          extra.insert("TRAMIX_PROBE", "seen");
                          return extra;
                      }());
    QFile probe(folder.path("probe"));
    ASSERT_TRUE(probe.open(QIODevice::ReadOnly));
    EXPECT_EQ(probe.readAll(), "seen");

    EXPECT_EQ(errorOf([&] {
                  ChildProcess::run(
                      sh, {"-c", "printf '  zip error: Nothing to do!\\n\\t' >&2; exit 12"});
              }),
              QStringLiteral("zip error: Nothing to do!"));
    EXPECT_EQ(errorOf([&] {
                  ChildProcess::run(sh, {"-c", "exit 3"});
              }),
              QStringLiteral("sh ist fehlgeschlagen."));
    EXPECT_NE(errorOf([&] { ChildProcess::run(folder.path("missing-tool"), {}); }),
              QStringLiteral("(no error)"));
}

TEST(ArchiveConverter, RecognisesArchivesAndTheirKindByName) {
    using ArchiveConverter::Kind;
    for (const char* name : {"a.zip", "B.ZIP", "c.tar", "d.tgz", "e.gz", "f.tar.gz", "/x/G.Tar.Gz"})
        EXPECT_TRUE(ArchiveConverter::isArchive(name)) << name;
    for (const char* name : {"a.7z", "zip", "a.zip.txt", "targz", ".zip", "Fotos"})
        EXPECT_FALSE(ArchiveConverter::isArchive(name)) << name;

    EXPECT_EQ(ArchiveConverter::kindOf("Fotos.ZIP"), Kind::zip);
    EXPECT_EQ(ArchiveConverter::kindOf("Backup.TAR.GZ"), Kind::tgz);
    EXPECT_EQ(ArchiveConverter::kindOf("a.tgz"), Kind::tgz);
    EXPECT_EQ(ArchiveConverter::kindOf("a.tar"), Kind::tgz);
    EXPECT_EQ(ArchiveConverter::kindOf("a.gz"), std::nullopt);
    EXPECT_EQ(ArchiveConverter::kindOf("a.rar"), std::nullopt);
}

TEST(ArchiveConverter, CompressNamesTheArchiveAfterOneInputOrCallsItArchiv) {
    using ArchiveConverter::Kind;
    test::TestFolder folder;
    const QString a = folder.file("a.txt", "A");
    const QString b = folder.file("-b.txt", "B");
    folder.file(".DS_Store", "finder");
    const QString photos = folder.folder("Fotos");
    folder.file("Fotos/urlaub.jpg", "jpg");
    folder.file("Fotos/sub/.DS_Store", "finder");
    QFile::link("urlaub.jpg", folder.path("Fotos/link.jpg"));

    for (const Kind kind : {Kind::zip, Kind::tgz}) {
        const QString ext = ArchiveConverter::extension(kind);
        // Several inputs: Archiv next to them, then the next free name.
        const QString first = ArchiveConverter::compress({a, b}, kind, {});
        EXPECT_EQ(first, folder.path("Archiv." + ext));
        EXPECT_EQ(entries(first), QStringList({"-b.txt", "a.txt"}));
        EXPECT_EQ(ArchiveConverter::compress({a, b}, kind, {}), folder.path("Archiv 2." + ext));

        // One folder keeps its own name as the top entry; Finder files and links stay out or
        // stay links.
        const QString packed = ArchiveConverter::compress({photos}, kind, {});
        EXPECT_EQ(packed, folder.path("Fotos." + ext));
        EXPECT_EQ(entries(packed),
                  QStringList({"Fotos/", "Fotos/link.jpg", "Fotos/sub/", "Fotos/urlaub.jpg"}));

        // Files from two folders are refused, and nothing is written.
        const QString other = folder.file("anders/c.txt");
        EXPECT_EQ(errorOf([&] {
                      ArchiveConverter::compress({a, other}, kind, {});
                  }),
                  QString::fromUtf8("Nicht unterstützt: Dateien aus verschiedenen Ordnern"));
        EXPECT_EQ(errorOf([&] { ArchiveConverter::compress({}, kind, {}); }), "Keine Dateien.");

        // A chosen output folder takes the archive.
        const QString out = folder.folder("Ausgabe " + ext);
        EXPECT_EQ(ArchiveConverter::compress({a}, kind, OutputContext{out, 0.85}),
                  out + "/a." + ext);
    }
    const QString zipLink = folder.path("linked");
    QDir().mkpath(zipLink);
    output("/usr/bin/unzip", {"-q", folder.path("Fotos.zip"), "-d", zipLink});
    EXPECT_TRUE(QFileInfo(zipLink + "/Fotos/link.jpg").isSymLink());

    // A missing input is named; a tool that fails leaves no archive behind, not even its
    // temporary file.
    const QString gone = folder.path("verschwunden.txt");
    for (const Kind kind : {Kind::zip, Kind::tgz}) {
        EXPECT_EQ(errorOf([&] {
                      ArchiveConverter::compress({a, gone}, kind, {});
                  }),
                  QString::fromUtf8("„verschwunden.txt“ konnte nicht gelesen werden."));
        EXPECT_NE(errorOf([&] {
                      ArchiveConverter::compress({a}, kind, OutputContext{folder.path("nie"), 1});
                  }),
                  "(no error)");
    }
    for (const QString& name : visibleNames(folder.path("")))
        EXPECT_FALSE(name.startsWith("Archiv 3") || name.endsWith(".part")) << name.toStdString();
}

TEST(ArchiveConverter, ExtractMakesAFolderNamedAfterTheArchive) {
    using ArchiveConverter::Kind;
    test::TestFolder folder;
    const QString source = folder.folder("quelle");
    folder.file("quelle/Dokumente/brief.txt", "Hallo");
    folder.file("quelle/notiz.txt", "Notiz");
    QFile::link("Dokumente/brief.txt", folder.path("quelle/verweis"));
    const QStringList expected = {"Dokumente", "Dokumente/brief.txt", "notiz.txt",
                                  "verweis -> " + folder.path("quelle/Dokumente/brief.txt")};
    ASSERT_EQ(tree(source), expected);

    const QStringList names = {"Dokumente", "notiz.txt", "verweis"};
    output("/usr/bin/tar", QStringList{"-czf", folder.path("Backup.TAR.GZ"), "-C", source} + names);
    output("/usr/bin/tar", QStringList{"-cf", folder.path("Alt.tar"), "-C", source} + names);
    output("/usr/bin/zip", QStringList{"-q", "-r", "-y", folder.path("Fotos.zip")} + names, source);

    const QString backup = ArchiveConverter::extract(folder.path("Backup.TAR.GZ"), {});
    EXPECT_EQ(backup, folder.path("Backup"));
    EXPECT_EQ(tree(backup).size(), 4);
    EXPECT_EQ(contents(backup + "/Dokumente/brief.txt"), "Hallo");
    EXPECT_EQ(QFileInfo(backup + "/verweis").symLinkTarget(), backup + "/Dokumente/brief.txt");
    EXPECT_EQ(ArchiveConverter::extract(folder.path("Backup.TAR.GZ"), {}), folder.path("Backup 2"));
    EXPECT_EQ(contents(ArchiveConverter::extract(folder.path("Alt.tar"), {}) + "/notiz.txt"),
              "Notiz");

    const QString out = folder.path("Ziel/tief");
    const QString photos = ArchiveConverter::extract(folder.path("Fotos.zip"), {out, 0.85});
    EXPECT_EQ(photos, out + "/Fotos");
    EXPECT_EQ(contents(photos + "/Dokumente/brief.txt"), "Hallo");
    EXPECT_TRUE(QFileInfo(photos + "/verweis").isSymLink());
    // Nothing but the results: no working folders are left beside them.
    EXPECT_EQ(visibleNames(out), QStringList({"Fotos"}));
    EXPECT_EQ(visibleNames(folder.path("")),
              QStringList({"Alt", "Alt.tar", "Backup", "Backup 2", "Backup.TAR.GZ", "Fotos.zip",
                           "Ziel", "quelle"}));
}

TEST(ArchiveConverter, RepackTurnsEachKindIntoTheOtherAndCleansUp) {
    using ArchiveConverter::Kind;
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
    output("/usr/bin/zip", {"-q", "-r", folder.path("Fotos.zip"), "Fotos", "__MACOSX"}, source);
    output("/usr/bin/tar", {"-czf", folder.path("Fotos.tgz"), "-C", source, "Fotos", ".DS_Store"});
    output("/usr/bin/tar",
           {"-cf", folder.path("Zwei.tar"), "-C", source + "/Fotos", "a.jpg", "b.jpg"});

    const QString tgz = ArchiveConverter::repack(folder.path("Fotos.zip"), Kind::tgz, {});
    EXPECT_EQ(tgz, folder.path("Fotos.tar.gz"));
    EXPECT_EQ(entries(tgz), QStringList({"Fotos/", "Fotos/a.jpg", "Fotos/b.jpg"}));

    const QString zip = ArchiveConverter::repack(folder.path("Fotos.tgz"), Kind::zip, {});
    EXPECT_EQ(zip, folder.path("Fotos 2.zip"));
    EXPECT_EQ(entries(zip), QStringList({"Fotos/", "Fotos/a.jpg", "Fotos/b.jpg"}));

    // Several top entries stay at the top of the new archive.
    const QString two = ArchiveConverter::repack(folder.path("Zwei.tar"), Kind::zip, {});
    EXPECT_EQ(two, folder.path("Zwei.zip"));
    EXPECT_EQ(entries(two), QStringList({"a.jpg", "b.jpg"}));
    const QString back = ArchiveConverter::repack(two, Kind::tgz, {});
    EXPECT_EQ(back, folder.path("Zwei.tar.gz"));
    EXPECT_EQ(entries(back), QStringList({"a.jpg", "b.jpg"}));

    // A ZIP of nothing but Mac metadata is empty, for extraction and repacking alike.
    output("/usr/bin/zip", {"-q", "-r", folder.path("Mac.zip"), "__MACOSX"}, source);
    output("/usr/bin/tar", {"-czf", folder.path("Mac.tar.gz"), "-C", source, "__MACOSX"});
    EXPECT_EQ(errorOf([&] { ArchiveConverter::repack(folder.path("Mac.zip"), Kind::tgz, {}); }),
              QString::fromUtf8("Das Archiv ist leer."));
    EXPECT_EQ(errorOf([&] { ArchiveConverter::repack(folder.path("Mac.tar.gz"), Kind::zip, {}); }),
              QString::fromUtf8("Das Archiv ist leer."));
    EXPECT_EQ(errorOf([&] { ArchiveConverter::extract(folder.path("Mac.zip"), {}); }),
              QString::fromUtf8("Das Archiv ist leer."));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Mac")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Mac.zip.tar.gz")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Mac.tar.gz.zip")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Mac.zip.zip")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Mac 2.tar.gz")));

    // Every working folder is gone again, after successes and failures.
    EXPECT_EQ(visibleNames(temp), QStringList());
}

TEST(ArchiveConverter, BadArchivesFailWithTheirSentenceWhileTheOthersFinish) {
    test::TestFolder folder;
    const QString good = folder.path("Gut.zip");
    folder.file("quelle/x.txt", "x");
    output("/usr/bin/zip", {"-q", good, "x.txt"}, folder.path("quelle"));
    const QString damagedZip = folder.file("Kaputt.zip", "PK\x03\x04 not really a zip");
    const QString damagedTar = folder.file("Kaputt.tar.gz", "\x1f\x8b broken gzip");
    python(folder.path(""), "zipfile.ZipFile('Leer.zip', 'w').close()");
    const auto extract = tramix::OperationRegistry::convertOperations({good}).first();
    ASSERT_EQ(extract.id, "convert.archive.extract");
    const JobResult result = JobRunner::run(
        extract, {damagedZip, good, damagedTar, folder.path("Leer.zip")}, OutputContext{});
    EXPECT_EQ(result.outputs, QStringList({folder.path("Gut")}));
    ASSERT_EQ(result.failures.size(), 3);
    for (const JobResult::Failure& failure : result.failures) {
        const QString name = QFileInfo(failure.input).fileName();
        if (name == "Kaputt.zip")
            EXPECT_TRUE(failure.message.contains("End-of-central-directory signature not found"))
                << failure.message.toStdString();
        else if (name == "Kaputt.tar.gz")
            EXPECT_TRUE(failure.message.contains("gzip: stdin")) << failure.message.toStdString();
        else
            EXPECT_EQ(failure.message, QString::fromUtf8("Das Archiv ist leer."));
    }
    // Only the good archive left a folder; no working folders remain.
    EXPECT_EQ(visibleNames(folder.path("")),
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
    const QStringList archives = visibleNames(work);
    ASSERT_EQ(archives.size(), 10);

    QStringList extracted;
    for (const QString& name : archives) {
        const QString archive = work + "/" + name;
        try {
            const QString result = ArchiveConverter::extract(archive, {});
            extracted.append(name);
            // What did come out lies inside, and no link leads out of it.
            for (const QString& entry : tree(result))
                EXPECT_FALSE(entry.contains(" -> ")) << entry.toStdString();
        } catch (const ConversionError&) {
        }
    }
    // Nothing ever lands outside, and there is no link to /etc/passwd to write through later.
    EXPECT_EQ(tree(outside), QStringList());
    EXPECT_EQ(errorOf([&] { ArchiveConverter::extract(work + "/Passwort.tar.gz", {}); }),
              QString::fromUtf8("„Passwort.tar.gz“ wurde nicht entpackt: Der Verweis „passwd“ "
                                "zeigt aus dem Archiv hinaus."));
    EXPECT_EQ(errorOf([&] { ArchiveConverter::extract(work + "/Schleife.zip", {}); }),
              QString::fromUtf8("„Schleife.zip“ wurde nicht entpackt: Der Verweis „weg“ zeigt "
                                "aus dem Archiv hinaus."));
    // The tools strip leading slashes and "../" or refuse such entries; a refused archive leaves
    // no folder, a stripped one keeps its entries inside.
    for (const QString& name : extracted) {
        EXPECT_TRUE(name == "Absolut.tar.gz" || name == "Punkte.zip") << name.toStdString();
    }
    const QStringList leftOver = visibleNames(work);
    for (const QString& name : leftOver) {
        EXPECT_TRUE(archives.contains(name) || name == "Absolut" || name == "Punkte")
            << name.toStdString();
    }
    EXPECT_EQ(tree(work + "/Punkte"), QStringList({"draussen", "draussen/boese.txt", "ok.txt"}));
    EXPECT_EQ(contents(work + "/Absolut" + outside + "/absolut.txt"), "boese");

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
