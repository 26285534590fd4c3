#include "ArchiveConverter.h"

#include "AtomicFile.h"
#include "ChildProcess.h"
#include "ConversionError.h"
#include "FileKind.h"
#include "FolderTree.h"

#include <QDir>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QScopeGuard>
#include <QUuid>

namespace tramix::ArchiveConverter {

namespace {

const QString tarTool = QStringLiteral("/usr/bin/tar");
const QString zipTool = QStringLiteral("/usr/bin/zip");
const QString unzipTool = QStringLiteral("/usr/bin/unzip");

const QString macMetadataFolder = QStringLiteral("__MACOSX");
const QString finderFile = QStringLiteral(".DS_Store");

QString parentOf(const QString& path) {
    return QFileInfo(QDir::cleanPath(path)).absolutePath();
}

QString nameOf(const QString& path) {
    return QFileInfo(QDir::cleanPath(path)).fileName();
}

// Writes the archive of `names`, which lie in `folder`, to `archive`.
void pack(const QStringList& names, const QString& folder, Kind kind, const QString& archive) {
    if (kind == Kind::tgz) {
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("COPYFILE_DISABLE"), QStringLiteral("1"));
        ChildProcess::run(
            tarTool,
            QStringList{"-czf", archive, "--exclude", finderFile, "-C", folder, "--"} + names, {},
            environment);
        return;
    }
    // Run from the folder, so that one zipped folder keeps its own name as the top entry.
    QStringList arguments{"-r", "-q", "-y", archive};
    for (const QString& name : names) {
        // zip has no end of options that would still let "-x" follow.
        arguments.append(name.startsWith(u'-') ? "./" + name : name);
    }
    arguments << "-x"
              << "*" + finderFile;
    ChildProcess::run(zipTool, arguments, folder);
}

void unpackZip(const QString& archive, const QString& folder) {
    try {
        // -o: a name that occurs twice in the archive is replaced instead of asking stdin.
        ChildProcess::run(unzipTool, {"-q", "-o", archive, "-d", folder});
    } catch (const ConversionError& error) {
        if (error.errorDescription().contains(u"zipfile is empty"))
            throw ConversionError::failed(QStringLiteral("Das Archiv ist leer."));
        throw;
    }
    // Mac resource forks have nowhere to go here.
    FolderTree::remove(QDir(folder).filePath(macMetadataFolder));
}

void unpack(const QString& archive, const QString& folder) {
    if (kindOf(archive) == Kind::zip)
        unpackZip(archive, folder);
    else
        // As root, tar would otherwise hand files to the archive's owners, set-user-ID included.
        ChildProcess::run(
            tarTool, {"--no-same-owner", "--no-same-permissions", "-xf", archive, "-C", folder});
}

QString extractionName(const QString& archive) {
    const QString name = nameOf(archive);
    for (const QStringView ending : {u".tar.gz", u".tgz", u".tar", u".zip"}) {
        if (name.endsWith(ending, Qt::CaseInsensitive) && name.size() > ending.size())
            return name.chopped(ending.size());
    }
    return name;
}

// Extraction works in a hidden folder beside the final one, so that a failure never leaves a
// half-filled folder under the final name.
QString stagingBeside(const QString& destination) {
    const QFileInfo info(destination);
    return QStringLiteral("%1/.%2.%3.part")
        .arg(info.absolutePath(), info.fileName(), QUuid::createUuid().toString(QUuid::Id128));
}

void checkLinks(const QString& folder, const QString& archive) {
    if (const std::optional<QString> link = FolderTree::linkLeaving(folder)) {
        throw ConversionError::failed(
            QStringLiteral("„%1“ wurde nicht entpackt: Der Verweis „%2“ zeigt aus dem Archiv "
                           "hinaus.")
                .arg(nameOf(archive), *link));
    }
}

QStringList entriesWorthKeeping(const QString& folder) {
    QStringList entries = QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    entries.removeAll(macMetadataFolder);
    entries.removeAll(finderFile);
    return entries;
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
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        pack(names, folder, kind, temporary);
    });
}

QString extract(const QString& archive, const OutputContext& context) {
    NameReservation destination(QDir(context.directory(archive)).filePath(extractionName(archive)));
    const QString staging = stagingBeside(destination.path());
    try {
        FolderTree::create(staging);
        unpack(archive, staging);
        checkLinks(staging, archive);
        if (QDir(staging).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot))
            throw ConversionError::failed(QStringLiteral("Das Archiv ist leer."));
        return destination.commit(
            [&](const QString& name) { return FolderTree::moveIntoPlace(staging, name); });
    } catch (...) {
        FolderTree::remove(staging);
        throw;
    }
}

QString repack(const QString& archive, Kind kind, const OutputContext& context) {
    const QString working = QDir(QDir::tempPath())
                                .filePath(QStringLiteral("tramix-") +
                                          QUuid::createUuid().toString(QUuid::WithoutBraces));
    FolderTree::create(working);
    const auto cleanUp = qScopeGuard([&] { FolderTree::remove(working); });
    const QString extracted = extract(archive, OutputContext{working, context.quality});
    const QStringList entries = entriesWorthKeeping(extracted);
    if (entries.isEmpty())
        throw ConversionError::failed(QStringLiteral("Das Archiv ist leer."));
    return AtomicFile::write(
        context.destination(archive, extension(kind)),
        [&](const QString& temporary) { pack(entries, extracted, kind, temporary); });
}

} // namespace tramix::ArchiveConverter
