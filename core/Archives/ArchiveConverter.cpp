#include "ArchiveConverter.h"

#include "AtomicFile.h"
#include "ChildProcess.h"
#include "ConversionError.h"
#include "DiskSpace.h"
#include "FolderTree.h"
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

const QString tarTool = QStringLiteral("/usr/bin/tar");
const QString zipTool = QStringLiteral("/usr/bin/zip");
const QString unzipTool = QStringLiteral("/usr/bin/unzip");

const QString macMetadataFolder = QStringLiteral("__MACOSX");
const QString finderFile = QStringLiteral(".DS_Store");

// An archive may grow this much freely, and beyond it to a hundred times its own size.
constexpr qint64 freeGrowth = 100 * 1000 * 1000;
constexpr qint64 mostGrowth = 100;

QString parentOf(const QString& path) {
    return QFileInfo(QDir::cleanPath(path)).absolutePath();
}

QString nameOf(const QString& path) {
    return QFileInfo(QDir::cleanPath(path)).fileName();
}

QString damaged(const QString& archive) {
    return QStringLiteral("„%1“ ist beschädigt.").arg(nameOf(archive));
}

QString notExtracted(const QString& archive, const QString& reason) {
    return QStringLiteral("„%1“ wurde nicht entpackt: %2").arg(nameOf(archive), reason);
}

QString couldNotExtract(const QString& archive, const QString& reason) {
    return QStringLiteral("„%1“ konnte nicht entpackt werden: %2").arg(nameOf(archive), reason);
}

QString couldNotRead(const QString& path, const QString& reason) {
    return QStringLiteral("„%1“ konnte nicht gelesen werden: %2").arg(nameOf(path), reason);
}

QString couldNotWrite(const QString& path, const QString& reason) {
    return QStringLiteral("„%1“ konnte nicht geschrieben werden: %2").arg(nameOf(path), reason);
}

[[noreturn]] void fail(const QString& sentence) {
    throw ConversionError::failed(sentence);
}

[[noreturn]] void failEmpty() {
    fail(QStringLiteral("Das Archiv ist leer."));
}

// The tools speak English, so that their error output can be read here, and treat names as UTF-8.
QProcessEnvironment toolEnvironment() {
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("LANGUAGE"), QString());
    return environment;
}

// The C library's cause that a tool's error output names, or 0; the ones first in the list win.
int causeIn(const QString& errorOutput) {
    static const locale_t english = ::newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    for (const int cause : {ENOSPC, EDQUOT, EROFS, EACCES, EPERM, EFBIG, EIO, ENAMETOOLONG, EMFILE,
                            ENFILE, ENOMEM, ENOENT, ENOTDIR}) {
        if (english && errorOutput.contains(QString::fromUtf8(::strerror_l(cause, english))))
            return cause;
    }
    return 0;
}

// Why writing failed, for causes the user can do something about; empty for the others.
QString writeProblem(int cause) {
    switch (cause) {
    case ENOSPC:
    case EDQUOT:
    case EROFS:
    case EACCES:
    case EPERM:
    case EIO:
    case ENAMETOOLONG:
    case EMFILE:
    case ENFILE:
    case ENOMEM:
        return SystemError::writeReason(cause);
    case EFBIG: // FAT file systems end at 4 GB
        return QStringLiteral("Eine Datei ist zu groß für diesen Datenträger.");
    default:
        return {};
    }
}

// A write that fell short without a reason: a full disk, or a disk with room left that does not
// take a file that large.
QString shortWriteProblem(const QString& folder) {
    constexpr qint64 nearlyFull = 64 * 1000 * 1000;
    const qint64 available = DiskSpace::available(folder);
    return writeProblem(available < 0 || available > nearlyFull ? EFBIG : ENOSPC);
}

// The archive, opened once: listing and extraction read the same file, even when another one
// takes its name in between, and the tools get it through this process's descriptor.
class OpenedArchive {
public:
    explicit OpenedArchive(const QString& path)
        : path_(path) {
        fd_ = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        if (fd_ < 0)
            SystemError::throwReadFailure(path, errno);
        struct stat info;
        if (::fstat(fd_, &info) != 0 || !S_ISREG(info.st_mode)) {
            ::close(fd_);
            throw ConversionError::unreadable(nameOf(path));
        }
        size_ = info.st_size;
    }
    ~OpenedArchive() { ::close(fd_); }
    OpenedArchive(const OpenedArchive&) = delete;
    OpenedArchive& operator=(const OpenedArchive&) = delete;

    const QString& path() const { return path_; }
    qint64 size() const { return size_; }
    QString forTool() const { return QStringLiteral("/proc/%1/fd/%2").arg(::getpid()).arg(fd_); }

    // Reads `size` bytes at `offset`; false when the file ends first.
    bool read(qint64 offset, qint64 size, QByteArray& into) const {
        into.resize(size);
        for (qint64 done = 0; done < size;) {
            const ssize_t got =
                ::pread(fd_, into.data() + done, size_t(size - done), offset + done);
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                SystemError::throwReadFailure(path_, errno);
            if (got == 0)
                return false;
            done += got;
        }
        return true;
    }

private:
    QString path_;
    int fd_ = -1;
    qint64 size_ = 0;
};

struct Listing {
    qint64 entries = 0;
    qint64 bytes = 0;       // uncompressed, as the archive claims
    bool special = false;   // devices, FIFOs, sockets and kinds unknown to us
    bool outside = false;   // absolute or ".." names, or hard links to such
    bool encrypted = false; // would make unzip ask for a password
    // TAR: the permission bits of files and folders by their normalised names; the umask that tar
    // applies on extraction takes bits away, the walk afterwards puts them back.
    QHash<QByteArray, mode_t> modes;

    void add(qint64 size) {
        bytes = size > std::numeric_limits<qint64>::max() - bytes
                    ? std::numeric_limits<qint64>::max()
                    : bytes + size;
    }
};

bool leavesFolder(const QByteArray& name, bool backslashSeparates) {
    QByteArray path = name;
    if (backslashSeparates)
        path.replace('\\', '/');
    return path.startsWith('/') || path.split('/').contains("..");
}

// "./a//b/" and "a/b" name the same entry.
QByteArray normalised(const QByteArray& name) {
    QList<QByteArray> parts = name.split('/');
    parts.removeAll(QByteArray());
    parts.removeAll(QByteArray("."));
    return parts.join('/');
}

// The string of the C literal whose opening quote is at `from`; `end` is set past its closing
// quote, or to -1 when there is none.
QByteArray unquoted(const QByteArray& line, qsizetype from, qsizetype& end) {
    QByteArray text;
    qsizetype at = from + 1;
    while (at < line.size() && line[at] != '"') {
        char c = line[at++];
        if (c == '\\' && at < line.size()) {
            c = line[at++];
            if (c >= '0' && c <= '7') {
                int value = c - '0';
                for (int digits = 1;
                     digits < 3 && at < line.size() && line[at] >= '0' && line[at] <= '7'; ++digits)
                    value = value * 8 + (line[at++] - '0');
                c = char(value);
            } else {
                static const QByteArray escapes = "a\ab\bf\fn\nr\rt\tv\v";
                const qsizetype known = escapes.indexOf(c);
                if (known >= 0 && known % 2 == 0)
                    c = escapes[known + 1];
            }
        }
        text.append(c);
    }
    end = at < line.size() ? at + 1 : -1;
    return text;
}

// "-rw-rwSr-t" to 0664.
mode_t permissionBits(const QByteArray& mode) {
    mode_t bits = 0;
    for (int i = 1; i <= 9; ++i) {
        const char c = mode[i];
        const bool set = (i % 3 == 0) ? (c == 'x' || c == 's' || c == 't') : c != '-';
        if (set)
            bits |= mode_t(1) << (9 - i);
    }
    return bits;
}

// One line of `tar --list --verbose --quoting-style=c`:
//   -rw-r--r-- 0/0        5 2024-01-01 00:00 "name"
//   hrw-r--r-- 0/0        0 2024-01-01 00:00 "name" link to "target"
//   crw-r--r-- 0/0      1,3 2024-01-01 00:00 "null"
bool readTarLine(const QByteArray& line, Listing& listing) {
    const qsizetype quote = line.indexOf('"');
    if (quote < 0)
        return false;
    const QList<QByteArray> fields = line.left(quote).simplified().split(' ');
    if (fields.size() < 3 || fields[0].size() != 10)
        return false;
    qsizetype end = 0;
    const QByteArray name = unquoted(line, quote, end);
    if (end < 0)
        return false;
    const char kind = fields[0][0];
    if (kind == 'V') // a volume label, which extracts to nothing
        return true;
    ++listing.entries;
    listing.outside |= leavesFolder(name, false);
    switch (kind) {
    case '-':
    case 'C': { // contiguous files are plain files anywhere but on old Masscomp machines
        bool ok = false;
        const qint64 size = fields[2].toLongLong(&ok);
        if (!ok || size < 0)
            return false;
        listing.add(size);
        listing.modes.insert(normalised(name), permissionBits(fields[0]));
        return true;
    }
    case 'd':
        listing.modes.insert(normalised(name), permissionBits(fields[0]));
        return true;
    case 'l': // where links lead is checked once they exist
        return true;
    case 'h': {
        const qsizetype target = line.indexOf('"', end);
        if (target < 0)
            return false;
        listing.outside |= leavesFolder(unquoted(line, target, end), false);
        return end >= 0;
    }
    default:
        listing.special = true;
        return true;
    }
}

Listing listTar(const OpenedArchive& archive) {
    const ScratchFolder scratch(QStringLiteral("listing-"));
    const QString index = scratch.filePath(QStringLiteral("index"));
    const QString source = archive.forTool();
    // --absolute-names shows names and link targets as stored, before tar would trim them.
    ChildProcess::run(tarTool,
                      {"--list", "--verbose", "--numeric-owner", "--absolute-names",
                       "--quoting-style=c", "--index-file=" + index, "--file=" + source},
                      {}, toolEnvironment(), [&](int, const QString& errorOutput) {
                          const int cause = causeIn(errorOutput);
                          if (cause == EIO)
                              return couldNotRead(archive.path(), SystemError::readReason(cause));
                          if (cause == ENOSPC || cause == EDQUOT)
                              return couldNotExtract(archive.path(), writeProblem(cause));
                          return damaged(archive.path());
                      });
    Listing listing;
    QFile file(index);
    if (!file.open(QIODevice::ReadOnly))
        return listing; // tar had nothing to list
    while (!file.atEnd()) {
        QByteArray line = file.readLine();
        if (line.endsWith('\n'))
            line.chop(1);
        if (!line.isEmpty() && !readTarLine(line, listing))
            fail(damaged(archive.path()));
    }
    return listing;
}

quint16 le16(const char* at) {
    return quint16(uchar(at[0]) | uchar(at[1]) << 8);
}

quint32 le32(const char* at) {
    return le16(at) | quint32(le16(at + 2)) << 16;
}

quint64 le64(const char* at) {
    return le32(at) | quint64(le32(at + 4)) << 32;
}

// ZIP archives are listed from their central directory, found as unzip finds it: the last end
// record in the final 64 KB, with the directory just before it (data prepended to the archive
// moves both alike).
Listing listZip(const OpenedArchive& archive) {
    const auto broken = [&] { return ConversionError::failed(damaged(archive.path())); };
    constexpr qint64 endSize = 22, longestComment = 0xFFFF, locatorSize = 20, end64Size = 56;
    if (archive.size() < endSize)
        throw broken();
    const qint64 tailStart = std::max<qint64>(0, archive.size() - endSize - longestComment);
    QByteArray tail;
    if (!archive.read(tailStart, archive.size() - tailStart, tail))
        throw broken();
    qsizetype at = tail.size() - endSize;
    while (at >= 0 && std::memcmp(tail.constData() + at, "PK\5\6", 4) != 0)
        --at;
    if (at < 0)
        throw broken();
    const char* record = tail.constData() + at;
    if (le16(record + 4) != 0 || le16(record + 6) != 0) // one part of several
        throw broken();
    quint64 count = le16(record + 10), size = le32(record + 12);
    const bool zip64 = count == 0xFFFF || size == 0xFFFFFFFF || le32(record + 16) == 0xFFFFFFFF;
    qint64 directoryEnd = tailStart + at;
    if (zip64) {
        QByteArray locator, end64;
        if (directoryEnd < locatorSize + end64Size ||
            !archive.read(directoryEnd - locatorSize, locatorSize, locator) ||
            std::memcmp(locator.constData(), "PK\6\7", 4) != 0)
            throw broken();
        // Right before the locator, or where the locator says when something lies in between.
        directoryEnd -= locatorSize + end64Size;
        const auto isEnd64 = [&](qint64 offset) {
            return offset >= 0 && archive.read(offset, end64Size, end64) &&
                   std::memcmp(end64.constData(), "PK\6\6", 4) == 0;
        };
        if (!isEnd64(directoryEnd)) {
            const quint64 stated = le64(locator.constData() + 8);
            if (stated > quint64(directoryEnd) || !isEnd64(qint64(stated)))
                throw broken();
            directoryEnd = qint64(stated);
        }
        count = le64(end64.constData() + 32);
        size = le64(end64.constData() + 40);
    }
    if (size > quint64(directoryEnd))
        throw broken();
    QByteArray directory;
    if (!archive.read(directoryEnd - qint64(size), qint64(size), directory))
        throw broken();

    Listing listing;
    constexpr qsizetype headerSize = 46;
    for (qsizetype entry = 0; entry < directory.size();) {
        const char* header = directory.constData() + entry;
        if (directory.size() - entry < headerSize || std::memcmp(header, "PK\1\2", 4) != 0)
            throw broken();
        const qsizetype nameSize = le16(header + 28), extraSize = le16(header + 30),
                        next = entry + headerSize + nameSize + extraSize + le16(header + 32);
        if (next > directory.size())
            throw broken();
        const QByteArray name(header + headerSize, nameSize);
        quint64 bytes = le32(header + 24);
        // Extra fields: ZIP64 sizes, and the UTF-8 name that unzip prefers to the plain one.
        const char* extra = header + headerSize + nameSize;
        for (qsizetype field = 0; field + 4 <= extraSize;) {
            const quint16 id = le16(extra + field), length = le16(extra + field + 2);
            const char* data = extra + field + 4;
            if (field + 4 + length > extraSize)
                break;
            if (id == 0x0001 && bytes == 0xFFFFFFFF && length >= 8)
                bytes = le64(data);
            if (id == 0x7075 && length > 5)
                listing.outside |= leavesFolder(QByteArray(data + 5, length - 5), true);
            field += 4 + length;
        }
        ++listing.entries;
        listing.outside |= leavesFolder(name, true);
        listing.encrypted |= (le16(header + 8) & 1) != 0;
        listing.add(qint64(std::min<quint64>(bytes, std::numeric_limits<qint64>::max())));
        entry = next;
    }
    // unzip goes by the count; a directory that disagrees with it is not one unzip would read.
    if (zip64 ? quint64(listing.entries) != count : quint64(listing.entries) % 0x10000 != count)
        throw broken();
    return listing;
}

QString nearestExistingFolder(QString folder) {
    while (!QFileInfo(folder).isDir() && folder != parentOf(folder))
        folder = parentOf(folder);
    return folder;
}

// Refuses, before anything is written, what must not or cannot be extracted.
void refuse(const OpenedArchive& archive, const Listing& listing, const QString& folder) {
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

class Descriptor {
public:
    explicit Descriptor(int fd)
        : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

// What the tools put into the staging folder, checked without ever following a link: only plain
// files, folders and links may be there, and no file may have a name outside. Files get the
// permission bits the archive gave them, without set-user-ID, set-group-ID and sticky bits; the
// owner may always read them, and use the folders.
class ExtractedTree {
public:
    ExtractedTree(const QString& archive, const Listing& listing)
        : archive_(archive)
        , listing_(listing) {}

    // Throws ConversionError; returns the bytes of the files, each counted once.
    qint64 check(int top) {
        walk(top, {});
        for (const LinkedFile& file : std::as_const(linkedFiles_)) {
            if (file.namesUnseen > 0) // a hard link to a file outside
                fail(notExtracted(archive_,
                                  QStringLiteral("Es enthält Einträge außerhalb des Ordners.")));
        }
        for (const LinkedFile& file : std::as_const(linkedFiles_))
            setMode(top, file.path.constData(), file.bits, file.mode);
        return bytes_;
    }

private:
    void walk(int folder, const QByteArray& relative) {
        const int listed = ::dup(folder);
        const std::unique_ptr<DIR, int (*)(DIR*)> entries(
            listed >= 0 ? ::fdopendir(listed) : nullptr, ::closedir);
        if (!entries) {
            if (listed >= 0)
                ::close(listed);
            failWith(errno);
        }
        errno = 0;
        while (const dirent* entry = ::readdir(entries.get())) {
            const char* name = entry->d_name;
            if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
                continue;
            const QByteArray path = relative.isEmpty() ? QByteArray(name) : relative + '/' + name;
            struct stat info;
            if (::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
                failWith(errno);
            if (S_ISDIR(info.st_mode)) {
                setMode(folder, name, (listedBits(path, info) & 0777) | S_IRWXU, info.st_mode);
                const Descriptor inner(
                    ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
                if (inner.get() < 0)
                    failWith(errno);
                walk(inner.get(), path);
            } else if (S_ISREG(info.st_mode)) {
                const auto listed = listing_.modes.constFind(path);
                const bool known = listed != listing_.modes.cend();
                const mode_t bits = ((known ? *listed : info.st_mode) & 0777) | S_IRUSR;
                if (info.st_nlink == 1) {
                    bytes_ += info.st_size;
                    setMode(folder, name, bits, info.st_mode);
                    continue;
                }
                // Changed only once every name of the file has been found inside, to the bits
                // listed for one of them (a hard link entry has none of its own).
                LinkedFile& file = linkedFiles_[std::make_pair(info.st_dev, info.st_ino)];
                if (file.path.isEmpty()) {
                    file = {path, bits, info.st_mode, known, info.st_nlink};
                    bytes_ += info.st_size;
                } else if (known && !file.listed) {
                    file.bits = bits, file.listed = true;
                }
                --file.namesUnseen;
            } else if (!S_ISLNK(info.st_mode)) {
                fail(notExtracted(
                    archive_,
                    QStringLiteral("Es enthält Gerätedateien oder andere besondere Dateien.")));
            }
            errno = 0;
        }
        if (errno != 0)
            failWith(errno);
    }

    mode_t listedBits(const QByteArray& path, const struct stat& info) const {
        return listing_.modes.value(path, info.st_mode);
    }

    struct LinkedFile {
        QByteArray path; // the first name found
        mode_t bits = 0;
        mode_t mode = 0;
        bool listed = false;
        nlink_t namesUnseen = 0;
    };

    // File systems without Unix permissions refuse the change; then nothing can be set-user-ID.
    void setMode(int folder, const char* name, mode_t bits, mode_t current) {
        if ((current & 07777) == bits)
            return;
        if (::fchmodat(folder, name, bits, AT_SYMLINK_NOFOLLOW) == 0)
            return;
        const int error = errno;
        struct stat info;
        const bool special = ::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0 ||
                             (info.st_mode & (S_ISUID | S_ISGID | S_ISVTX)) != 0;
        if (special || (S_ISDIR(info.st_mode) && (info.st_mode & S_IRWXU) != S_IRWXU))
            failWith(error);
    }

    [[noreturn]] void failWith(int error) {
        const QString problem = writeProblem(error);
        fail(problem.isEmpty() ? damaged(archive_) : couldNotExtract(archive_, problem));
    }

    QString archive_;
    const Listing& listing_;
    qint64 bytes_ = 0;
    QHash<std::pair<dev_t, ino_t>, LinkedFile> linkedFiles_;
};

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
void unpackInto(const OpenedArchive& archive, const Listing& listing, const QString& staging,
                bool zip) {
    const Descriptor top(
        ::open(QFile::encodeName(staging).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat info;
    if (top.get() < 0 || ::fstat(top.get(), &info) != 0)
        fail(couldNotExtract(archive.path(), SystemError::writeReason(errno)));
    ::fchmod(top.get(), S_IRWXU);
    try {
        runExtraction(archive, staging, zip);
        if (zip) // Mac resource forks have nowhere to go here.
            FolderTree::remove(staging + u'/' + macMetadataFolder);
        const qint64 bytes = ExtractedTree(archive.path(), listing).check(top.get());
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
    const Listing listing = zip ? listZip(source) : listTar(source);
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
