#include "Archives/ArchiveConverter.h"

#include "Catalogue/OperationRegistry.h"
#include "ConversionError.h"
#include "DiskSpace.h"
#include "JobRunner.h"
#include "TestFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
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

// Helpers for the scripts: plain files, zeros that are never all in memory, and archives of them.
const QString tarHelpers = R"(
class Zeros(io.RawIOBase):
    def readinto(self, buffer):
        buffer[:] = bytes(len(buffer))
        return len(buffer)
def member(name, kind=tarfile.REGTYPE, mode=0o644, data=b'x', size=None, link='', device=(0, 0)):
    info = tarfile.TarInfo(name)
    info.type, info.mode, info.linkname = kind, mode, link
    info.devmajor, info.devminor = device
    if kind != tarfile.REGTYPE:
        return (info,)
    info.size = len(data) if size is None else size
    return info, io.BytesIO(data) if size is None else Zeros()
def tar(name, *members, mode='w:gz'):
    with tarfile.open(name, mode, format=tarfile.GNU_FORMAT) as archive:
        for entry in members:
            archive.addfile(*entry)
)";

// The permission bits and kind of `path`, not following links.
mode_t modeOf(const QString& path) {
    struct stat status {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode : 0;
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
    const QString cache = folder.folder("cache");
    const QByteArray oldTemp = qgetenv("TMPDIR"), oldCache = qgetenv("XDG_CACHE_HOME");
    qputenv("TMPDIR", QFile::encodeName(temp));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(cache));
    const auto restore = qScopeGuard([&] {
        qputenv("TMPDIR", oldTemp);
        qputenv("XDG_CACHE_HOME", oldCache);
    });

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
    EXPECT_EQ(folder.names(), QStringList({"Fotos 2.zip", "Fotos.tar.gz", "Fotos.tgz", "Fotos.zip",
                                           "Mac.tar.gz", "Mac.zip", "Zwei.tar", "Zwei.tar.gz",
                                           "Zwei.zip", "cache", "quelle", "tmp"}));
    // Every working folder is gone again, after successes and failures; none was ever in TMPDIR.
    EXPECT_EQ(test::namesIn(cache + "/Tramix/scratch"), QStringList());
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
    EXPECT_EQ(messages["Kaputt.zip"], "„Kaputt.zip“ ist beschädigt.");
    EXPECT_EQ(messages["Kaputt.tar.gz"], "„Kaputt.tar.gz“ ist beschädigt.");
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

    // Absolute and ".." names, and hard links to them, are refused from the listing, before tar
    // or unzip could trim or skip them; links that lead out fail once they exist.
    QMap<QString, QString> messages;
    for (const QString& name : archives)
        messages[name] = errorOf([&] { ArchiveConverter::extract(work + "/" + name, {}); });
    const auto refused = [](const QString& name, const QString& reason) {
        return "„" + name + "“ wurde nicht entpackt: " + reason;
    };
    const QString outsideEntries = "Es enthält Einträge außerhalb des Ordners.";
    for (const QString name :
         {"Absolut.tar.gz", "Absolut.zip", "Hart.tar.gz", "Punkte.tar.gz", "Punkte.zip"})
        EXPECT_EQ(messages.take(name), refused(name, outsideEntries));
    EXPECT_EQ(messages.take("Passwort.tar.gz"),
              refused("Passwort.tar.gz", "Der Verweis „passwd“ zeigt aus dem Archiv hinaus."));
    EXPECT_EQ(messages.take("Passwort.zip"),
              refused("Passwort.zip", "Der Verweis „passwd“ zeigt aus dem Archiv hinaus."));
    EXPECT_EQ(messages.take("Schleife.zip"),
              refused("Schleife.zip", "Der Verweis „weg“ zeigt aus dem Archiv hinaus."));
    // A file through a link, which the tools will not write through, contradicts the archive's
    // own layout.
    EXPECT_EQ(messages.take("Durch.tar.gz"), "„Durch.tar.gz“ ist beschädigt.");
    EXPECT_EQ(messages.take("Durch.zip"), "„Durch.zip“ ist beschädigt.");
    EXPECT_EQ(messages, (QMap<QString, QString>()));
    // Nothing ever lands outside, and there is no link to /etc/passwd to write through later;
    // a refused archive leaves no folder.
    EXPECT_EQ(tree(outside), QStringList());
    EXPECT_EQ(test::namesIn(work), archives);

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

TEST(ArchiveConverter, NoDeviceFIFOOrSpecialBitComesOutAndPermissionsSurvive) {
    test::TestFolder folder;
    python(folder.path("."), tarHelpers + R"(
tar('Zeichen.tar', member('ok.txt'), member('null', tarfile.CHRTYPE, device=(1, 3)), mode='w')
tar('Block.tar.gz', member('ok.txt'), member('sda', tarfile.BLKTYPE, device=(8, 0)))
tar('Fifo.tgz', member('ok.txt'), member('fifo', tarfile.FIFOTYPE))
tar('Rechte.tar.gz', member('ordner', tarfile.DIRTYPE, 0o2775), member('ordner/privat', mode=0o600),
    member('gruppe.txt', mode=0o664), member('werkzeug', mode=0o6775),
    member('klebrig', mode=0o1777), member('zwilling', tarfile.LNKTYPE, link='gruppe.txt'))
with zipfile.ZipFile('Rechte.zip', 'w') as archive:
    for name, mode in [('gruppe.txt', stat.S_IFREG | 0o664), ('werkzeug', stat.S_IFREG | 0o6775),
                       ('fifo', stat.S_IFIFO | 0o644), ('null', stat.S_IFCHR | 0o644)]:
        info = zipfile.ZipInfo(name)
        info.create_system, info.external_attr = 3, mode << 16
        archive.writestr(info, 'x')
)");
    // Devices and FIFOs are refused from the listing, so not even a hidden one is ever made.
    for (const QString name : {"Zeichen.tar", "Block.tar.gz", "Fifo.tgz"}) {
        EXPECT_EQ(errorOf([&] { ArchiveConverter::extract(folder.path(name), {}); }),
                  "„" + name +
                      "“ wurde nicht entpackt: Es enthält Gerätedateien oder andere besondere "
                      "Dateien.");
    }

    // Permission bits as archived, whatever the umask, less set-user-ID, set-group-ID and sticky;
    // a hard link inside stays one file.
    const QString rights = ArchiveConverter::extract(folder.path("Rechte.tar.gz"), {});
    EXPECT_EQ(modeOf(rights + "/gruppe.txt"), S_IFREG | 0664);
    EXPECT_EQ(modeOf(rights + "/werkzeug"), S_IFREG | 0775);
    EXPECT_EQ(modeOf(rights + "/klebrig"), S_IFREG | 0777);
    EXPECT_EQ(modeOf(rights + "/ordner"), S_IFDIR | 0775);
    EXPECT_EQ(modeOf(rights + "/ordner/privat"), S_IFREG | 0600);
    struct stat one {};
    struct stat two {};
    ASSERT_EQ(stat(QFile::encodeName(rights + "/gruppe.txt").constData(), &one), 0);
    ASSERT_EQ(stat(QFile::encodeName(rights + "/zwilling").constData(), &two), 0);
    EXPECT_EQ(one.st_ino, two.st_ino);
    EXPECT_EQ(one.st_nlink, 2u);

    // unzip makes plain files of whatever else a ZIP claims to hold.
    const QString zipped = ArchiveConverter::extract(folder.path("Rechte.zip"), {});
    EXPECT_EQ(modeOf(zipped + "/gruppe.txt"), S_IFREG | 0664);
    EXPECT_EQ(modeOf(zipped + "/werkzeug"), S_IFREG | 0775);
    EXPECT_EQ(modeOf(zipped + "/fifo"), S_IFREG | 0644);
    EXPECT_EQ(modeOf(zipped + "/null"), S_IFREG | 0644);
    EXPECT_EQ(folder.names(), QStringList({"Block.tar.gz", "Fifo.tgz", "Rechte", "Rechte 2",
                                           "Rechte.tar.gz", "Rechte.zip", "Zeichen.tar"}));
}

TEST(ArchiveConverter, BombsAndArchivesThatUnderstateTheirSizeAreRefused) {
    test::TestFolder folder;
    python(folder.path("."), tarHelpers + R"(
import struct
tar('Bombe.tar.gz', member('nullen', size=150 * 1000 * 1000))
tar('Klein.tar.gz', member('nullen', size=1000 * 1000))
with zipfile.ZipFile('Bombe.zip', 'w', zipfile.ZIP_DEFLATED) as archive:
    with archive.open('nullen', 'w', force_zip64=True) as entry:
        for _ in range(150):
            entry.write(bytes(1000 * 1000))
# Two megabytes that the local header and the central directory both call 1000 bytes.
with zipfile.ZipFile('Luege.zip', 'w', zipfile.ZIP_DEFLATED) as archive:
    archive.writestr('nullen', bytes(2 * 1000 * 1000))
data = bytearray(open('Luege.zip', 'rb').read())
central = data.rindex(b'PK\x01\x02')
data[22:26] = data[central + 24:central + 28] = struct.pack('<I', 1000)
open('Luege.zip', 'wb').write(data)
)");
    for (const QString name : {"Bombe.tar.gz", "Bombe.zip"}) {
        const qint64 size = QFileInfo(folder.path(name)).size();
        EXPECT_EQ(errorOf([&] { ArchiveConverter::extract(folder.path(name), {}); }),
                  "„" + name + "“ wurde nicht entpackt: Aus " + DiskSpace::sizeText(size) +
                      " würden 150 MB, mehr als das Hundertfache.");
    }
    // A thousandfold below 100 MB is fine.
    EXPECT_EQ(
        QFileInfo(ArchiveConverter::extract(folder.path("Klein.tar.gz"), {}) + "/nullen").size(),
        1000 * 1000);
    EXPECT_EQ(errorOf([&] { ArchiveConverter::extract(folder.path("Luege.zip"), {}); }),
              "„Luege.zip“ ist beschädigt: Es enthält mehr Daten, als sein Inhaltsverzeichnis "
              "angibt.");

    // Content that does not fit on the disk is refused before anything is written: one sparse
    // file, which the archive holds as a header and a hole.
    const qint64 tooMuch = DiskSpace::available(folder.path(".")) + 1000LL * 1000 * 1000;
    ASSERT_GT(tooMuch, 1000LL * 1000 * 1000);
    python(folder.path("."), R"(
info = tarfile.TarInfo('riesig')
info.size = )" + QString::number(tooMuch) +
                                 R"(
with open('Riesig.tar', 'wb') as archive:
    archive.write(info.tobuf(tarfile.GNU_FORMAT))
    archive.truncate(archive.tell() + (info.size + 511) // 512 * 512 + 1024)
)");
    EXPECT_TRUE(errorOf([&] { ArchiveConverter::extract(folder.path("Riesig.tar"), {}); })
                    .startsWith("Auf dem Datenträger ist nicht genug Platz: " +
                                DiskSpace::sizeText(tooMuch) + " nötig, "));
    EXPECT_EQ(folder.names(), QStringList({"Bombe.tar.gz", "Bombe.zip", "Klein", "Klein.tar.gz",
                                           "Luege.zip", "Riesig.tar"}));
}

TEST(ArchiveConverter, FailuresNameTheirCauseInGerman) {
    test::TestFolder folder;
    folder.file("quelle/a.txt", "Hallo");
    toolOutput("/usr/bin/tar",
               {"-czf", folder.path("Ganz.tar.gz"), "-C", folder.path("quelle"), "a.txt"});
    toolOutput("/usr/bin/zip", {"-q", "-P", "geheim", folder.path("Geheim.zip"), "a.txt"},
               folder.path("quelle"));
    python(folder.path("."), tarHelpers + R"(
whole = open('Ganz.tar.gz', 'rb').read()
open('Abgeschnitten.tar.gz', 'wb').write(whole[:len(whole) // 2])
with zipfile.ZipFile('Ganz.zip', 'w') as archive:
    archive.writestr('a.txt', 'Hallo')
whole = open('Ganz.zip', 'rb').read()
open('Abgeschnitten.zip', 'wb').write(whole[:40])
open('Anders.zip', 'wb').write(whole.replace(b'a.txt', b'b.txt', 1))
tar('Gross.tar', member('gross', size=2 * 1000 * 1000), mode='w')
with zipfile.ZipFile('Gross.zip', 'w') as archive:
    archive.writestr('gross', bytes(2 * 1000 * 1000))
)");
    const auto error = [&](const QString& name) {
        return errorOf([&] { ArchiveConverter::extract(folder.path(name), {}); });
    };
    EXPECT_EQ(error("Abgeschnitten.tar.gz"), "„Abgeschnitten.tar.gz“ ist beschädigt.");
    EXPECT_EQ(error("Abgeschnitten.zip"), "„Abgeschnitten.zip“ ist beschädigt.");
    EXPECT_EQ(error("Anders.zip"), "„Anders.zip“ ist beschädigt."); // local name differs
    EXPECT_EQ(error("weg.zip"),
              "„weg.zip“ konnte nicht gelesen werden: Die Datei ist nicht mehr da.");
    // unzip never gets to ask for the password.
    EXPECT_EQ(error("Geheim.zip"),
              "„Geheim.zip“ wurde nicht entpackt: Es ist mit einem Kennwort geschützt.");

    // Files larger than the file system takes (a limit of 1 MB here, as FAT has at 4 GB), for
    // extracting and packing alike: tar and unzip only say that a write fell short (and unzip
    // asks whether to go on, which nobody answers), so the free space tells this from a full disk.
    python(folder.path("."), "import os\nopen('gross.bin', 'wb').write(os.urandom(2000000))");
    const QString big = folder.path("gross.bin");
    QStringList messages;
    {
        struct rlimit old {};
        getrlimit(RLIMIT_FSIZE, &old);
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit small = old;
        small.rlim_cur = 1000 * 1000;
        setrlimit(RLIMIT_FSIZE, &small);
        messages << error("Gross.tar") << error("Gross.zip")
                 << errorOf([&] { ArchiveConverter::compress({big}, Kind::tgz, {}); })
                 << errorOf([&] { ArchiveConverter::compress({big}, Kind::zip, {}); });
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, oldHandler);
    }
    EXPECT_EQ(messages,
              QStringList({"„Gross.tar“ konnte nicht entpackt werden: Eine Datei ist zu groß für "
                           "diesen Datenträger.",
                           "„Gross.zip“ konnte nicht entpackt werden: Eine Datei ist zu groß für "
                           "diesen Datenträger.",
                           "„gross.tar.gz“ konnte nicht geschrieben werden: Eine Datei ist zu groß "
                           "für diesen Datenträger.",
                           "„gross.zip“ konnte nicht geschrieben werden: Eine Datei ist zu groß "
                           "für diesen Datenträger."}));
    // Nothing is left of any of them, and no message named a hidden or a handle's path.
    EXPECT_EQ(folder.names(), QStringList({"Abgeschnitten.tar.gz", "Abgeschnitten.zip",
                                           "Anders.zip", "Ganz.tar.gz", "Ganz.zip", "Geheim.zip",
                                           "Gross.tar", "Gross.zip", "gross.bin", "quelle"}));
}
