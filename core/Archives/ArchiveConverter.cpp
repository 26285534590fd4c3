#include "ArchiveConverter.h"

#include "ArchiveListing.h"
#include "ArchiveTools.h"
#include "AtomicFile.h"
#include "ChildProcess.h"
#include "ConversionError.h"
#include "DiskSpace.h"
#include "ExtractedTree.h"
#include "FileDescriptor.h"
#include "FolderTree.h"
#include "OpenedArchive.h"
#include "ScratchFolder.h"
#include "SystemError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcessEnvironment>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <locale.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tramix::ArchiveConverter {

namespace {

const QString macMetadataFolder = QStringLiteral("__MACOSX");
const QString finderFile = QStringLiteral(".DS_Store");

// An archive may grow this much freely, and beyond it to a hundred times its own size.
constexpr qint64 freeGrowth = 100 * 1000 * 1000;
constexpr qint64 mostGrowth = 100;

QString parentOf(const QString& path) {
    return QFileInfo(QDir::cleanPath(path)).absolutePath();
}

QString nearestExistingFolder(QString folder) {
    while (!QFileInfo(folder).isDir() && folder != parentOf(folder))
        folder = parentOf(folder);
    return folder;
}

// Refuses, before anything is written, what must not or cannot be extracted.
void refuse(const OpenedArchive& archive, const ArchiveListing& listing, const QString& folder) {
    const QString& path = archive.path();
    if (listing.entries == 0)
        failEmpty();
    if (listing.outside)
        fail(notExtracted(path, QStringLiteral("Es enthält Einträge außerhalb des Ordners.")));
    if (listing.special)
        fail(notExtracted(
            path, QStringLiteral("Es enthält Gerätedateien oder andere besondere Dateien.")));
    if (listing.encrypted)
        fail(notExtracted(path, QStringLiteral("Es ist mit einem Kennwort geschützt.")));
    if (listing.bytes > freeGrowth && (listing.bytes - 1) / mostGrowth >= archive.size()) {
        fail(notExtracted(path, QStringLiteral("Aus %1 würden %2, mehr als das Hundertfache.")
                                    .arg(DiskSpace::sizeText(archive.size()),
                                         DiskSpace::sizeText(listing.bytes))));
    }
    DiskSpace::require(nearestExistingFolder(folder), listing.bytes);
}

void checkLinks(const QString& folder, const QString& archive) {
    if (const std::optional<QString> link = FolderTree::linkLeaving(folder)) {
        fail(notExtracted(
            archive, QStringLiteral("Der Verweis „%1“ zeigt aus dem Archiv hinaus.").arg(*link)));
    }
}

QStringList entriesIn(const QString& folder) {
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

ChildProcess::Explain explainExtraction(const OpenedArchive& archive, const QString& staging,
                                        bool zip) {
    return [&archive, staging, zip](int exitCode, const QString& errorOutput) {
        const int cause = causeIn(errorOutput);
        if ((cause == EACCES || cause == EIO) && errorOutput.contains(archive.forTool()))
            return couldNotRead(archive.path(), SystemError::readReason(cause));
        if (const QString problem = writeProblem(cause); !problem.isEmpty())
            return couldNotExtract(archive.path(), problem);
        // tar's "Wrote only 7232 of 10240 bytes" and unzip's "write error (disk full?)" (exit 50)
        if ((zip && exitCode == 50) || (!zip && errorOutput.contains(u": Wrote only ")))
            return couldNotExtract(archive.path(), shortWriteProblem(staging));
        // The listing went through; what the tools trip over now are contradictions in the
        // archive: a file where its folder should be, a link to nothing, data that does not fit.
        return damaged(archive.path());
    };
}

void runExtraction(const OpenedArchive& archive, const QString& staging, bool zip) {
    const ChildProcess::Explain explain = explainExtraction(archive, staging, zip);
    if (zip) {
        // -o replaces a name that occurs twice instead of asking; -P "" answers a password
        // question that the listing should have made impossible.
        ChildProcess::run(unzipTool, {"-qq", "-o", "-P", "", archive.forTool(), "-d", staging}, {},
                          toolEnvironment(), explain);
        return;
    }
    // No owners from the archive, the umask on permissions (so no set-user-ID programs even for
    // a moment), the staging folder's own permissions left alone, and folders' permissions set
    // only at the end, so that a read-only folder can still be filled.
    ChildProcess::run(tarTool,
                      {"--extract", "--file=" + archive.forTool(), "--directory=" + staging,
                       "--no-same-owner", "--no-same-permissions", "--no-overwrite-dir",
                       "--delay-directory-restore"},
                      {}, toolEnvironment(), explain);
}

// Fills `staging` and checks what came out. The folder is closed to everyone else meanwhile, so
// that nobody can use or swap what has not been checked yet (file systems without permissions,
// such as FAT, refuse that, but can hold no set-user-ID programs either).
void unpackInto(const OpenedArchive& archive, const ArchiveListing& listing, const QString& staging,
                bool zip) {
    const FileDescriptor top(
        ::open(QFile::encodeName(staging).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat info;
    if (top.get() < 0 || ::fstat(top.get(), &info) != 0)
        fail(couldNotExtract(archive.path(), SystemError::writeReason(errno)));
    ::fchmod(top.get(), S_IRWXU);
    try {
        runExtraction(archive, staging, zip);
        if (zip) // Mac resource forks have nowhere to go here.
            FolderTree::remove(staging + u'/' + macMetadataFolder);
        const qint64 bytes = checkExtractedTree(top.get(), archive.path(), listing);
        if (bytes > listing.bytes) {
            fail(QStringLiteral("„%1“ ist beschädigt: Es enthält mehr Daten, als sein "
                                "Inhaltsverzeichnis angibt.")
                     .arg(nameOf(archive.path())));
        }
        checkLinks(staging, archive.path());
        if (entriesIn(staging).isEmpty())
            failEmpty();
    } catch (...) {
        // Archives may hold folders that even their owner cannot change; they must still go.
        for (const QString& entry : entriesIn(staging))
            FolderTree::remove(staging + u'/' + entry);
        throw;
    }
    ::fchmod(top.get(), info.st_mode & 07777);
}

QString extractionName(const QString& archive) {
    const QString name = nameOf(archive);
    for (const QStringView ending : {u".tar.gz", u".tgz", u".tar", u".zip"}) {
        if (name.endsWith(ending, Qt::CaseInsensitive) && name.size() > ending.size())
            return name.chopped(ending.size());
    }
    return name;
}

QStringList entriesWorthKeeping(const QString& folder) {
    QStringList entries = entriesIn(folder);
    entries.removeAll(macMetadataFolder);
    entries.removeAll(finderFile);
    return entries;
}

// Reads tar's "/usr/bin/tar: {name}: Cannot open: Permission denied" and the like.
QString explainTarPacking(const QString& errorOutput, const QString& archive,
                          const QString& temporary) {
    const QString tarSays = tarTool + QStringLiteral(": ");
    for (const QString& line : errorOutput.split(u'\n', Qt::SkipEmptyParts)) {
        const int cause = causeIn(line);
        const bool aboutArchive = line.startsWith(u"gzip:") || line.contains(temporary);
        if (aboutArchive && !writeProblem(cause).isEmpty())
            return couldNotWrite(archive, writeProblem(cause));
        if (aboutArchive || !line.startsWith(tarSays))
            continue;
        const QString said = line.mid(tarSays.size());
        const qsizetype cannot = said.lastIndexOf(u": Cannot ");
        if (cause != 0 && cannot > 0)
            return couldNotRead(said.left(cannot), SystemError::readReason(cause));
        if (const QString changed = QStringLiteral(": file changed as we read it");
            said.endsWith(changed)) {
            return QStringLiteral("„%1“ hat sich beim Packen verändert.")
                .arg(nameOf(said.chopped(changed.size())));
        }
        if (const QString removed = QStringLiteral(": File removed before we read it");
            said.endsWith(removed))
            return couldNotRead(said.chopped(removed.size()), SystemError::readReason(ENOENT));
    }
    return {};
}

// zip names unreadable files only on its standard output.
QString explainZipPacking(int exitCode, const QString& errorOutput, const QString& packed,
                          const QString& archive) {
    if (exitCode == 18)
        return QStringLiteral("Nicht alle Dateien konnten gelesen werden.");
    if (exitCode == 12)
        return QStringLiteral("Keine Dateien.");
    if (const QString problem = writeProblem(causeIn(errorOutput)); !problem.isEmpty())
        return couldNotWrite(archive, problem);
    if (exitCode == 14) // a write error, often without a word
        return couldNotWrite(archive, shortWriteProblem(parentOf(packed)));
    return {};
}

// Writes the archive of `names`, which lie in `folder`, to `destination`.
QString writeArchive(NameReservation destination, const QStringList& names, const QString& folder,
                     Kind kind) {
    const QString archive = nameOf(destination.path());
    if (kind == Kind::tgz) {
        return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
            QProcessEnvironment environment = toolEnvironment();
            environment.insert(QStringLiteral("COPYFILE_DISABLE"), QStringLiteral("1"));
            const QString output = temporary;
            ChildProcess::run(
                tarTool,
                QStringList{"-czf", output, "--exclude", finderFile, "-C", folder, "--"} + names,
                {}, environment, [&](int, const QString& errorOutput) {
                    return explainTarPacking(errorOutput, archive, output);
                });
        });
    }
    // zip makes its own temporary file beside its output, which must therefore be a folder of
    // ours; the scratch file has the result's name, for messages that name it.
    const ScratchFolder scratch(QStringLiteral("zip-"));
    const QString packed = scratch.filePath(archive);
    // Run from the folder, so that one zipped folder keeps its own name as the top entry.
    QStringList arguments{"-r", "-q", "-y", packed};
    for (const QString& name : names) {
        // zip has no end of options that would still let "-x" follow.
        arguments.append(name.startsWith(u'-') ? "./" + name : name);
    }
    arguments << "-x"
              << "*" + finderFile;
    ChildProcess::run(zipTool, arguments, folder, toolEnvironment(),
                      [&](int exitCode, const QString& errorOutput) {
                          return explainZipPacking(exitCode, errorOutput, packed, archive);
                      });
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        AtomicFile::fillFrom(temporary, packed);
    });
}

} // namespace

std::optional<Kind> kindOf(const QString& path) {
    const QString name = nameOf(path).toLower();
    if (name.endsWith(u".zip"))
        return Kind::zip;
    if (name.endsWith(u".tar.gz") || name.endsWith(u".tgz") || name.endsWith(u".tar"))
        return Kind::tgz;
    return std::nullopt;
}

QString extension(Kind kind) {
    return kind == Kind::zip ? QStringLiteral("zip") : QStringLiteral("tar.gz");
}

QString title(Kind kind) {
    return kind == Kind::zip ? QStringLiteral("ZIP") : QStringLiteral("TAR.GZ");
}

QString compress(const QStringList& inputs, Kind kind, const OutputContext& context) {
    if (inputs.isEmpty())
        throw ConversionError::failed(QStringLiteral("Keine Dateien."));
    const QString folder = parentOf(inputs.first());
    QStringList names;
    for (const QString& input : inputs) {
        if (parentOf(input) != folder)
            throw ConversionError::unsupported(QStringLiteral("Dateien aus verschiedenen Ordnern"));
        names.append(nameOf(input));
    }
    // zip reports a missing input only on its standard output, which nobody reads.
    for (const QString& input : inputs) {
        if (!QFileInfo(input).exists() && !QFileInfo(input).isSymLink())
            throw ConversionError::unreadable(nameOf(input));
    }
    NameReservation destination =
        inputs.size() == 1
            ? context.destination(inputs.first(), extension(kind))
            : context.destinationNamed(QStringLiteral("Archiv.") + extension(kind), inputs.first());
    return writeArchive(std::move(destination), names, folder, kind);
}

QString extract(const QString& archive, const OutputContext& context) {
    const OpenedArchive source(archive);
    const bool zip = kindOf(archive) == Kind::zip;
    const ArchiveListing listing =
        zip ? ArchiveListing::ofZip(source) : ArchiveListing::ofTar(source);
    const QString folder = context.directory(archive);
    refuse(source, listing, folder);
    FolderTree::create(folder);
    return AtomicFile::writeFolder(
        NameReservation(QDir(folder).filePath(extractionName(archive))),
        [&](const QString& staging) { unpackInto(source, listing, staging, zip); });
}

QString repack(const QString& archive, Kind kind, const OutputContext& context) {
    const ScratchFolder working(QStringLiteral("repack-"));
    const QString extracted = extract(archive, OutputContext{working.path(), context.quality});
    const QStringList entries = entriesWorthKeeping(extracted);
    if (entries.isEmpty())
        failEmpty();
    return writeArchive(context.destination(archive, extension(kind)), entries, extracted, kind);
}

} // namespace tramix::ArchiveConverter
