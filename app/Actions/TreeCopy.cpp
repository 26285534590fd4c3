#include "TreeCopy.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "DiskSpace.h"
#include "FileDescriptor.h"
#include "NameReservation.h"
#include "SystemError.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tramix::TreeCopy {

namespace {

constexpr size_t pieceSize = 1 << 20;
constexpr mode_t permissionBits = 07777;
constexpr mode_t privateFolder = 0700; // until the copy is complete and checked
constexpr mode_t privateFile = 0600;

QString shown(const char* name) {
    return QFile::decodeName(name);
}

[[noreturn]] void readFailure(const char* name, int error) {
    SystemError::throwReadFailure(shown(name), error);
}

[[noreturn]] void writeFailure(const char* name, int error) {
    SystemError::throwWriteFailure(shown(name), error);
}

[[noreturn]] void changedOnTheWay(const QString& name) {
    throw ConversionError::failed(
        QStringLiteral("„%1“ kam auf dem anderen Laufwerk nicht unverändert an; das Original "
                       "bleibt, wo es war.")
            .arg(name));
}

// Pipes, sockets and devices exist only as entries of their own file system.
[[noreturn]] void notMovable(const char* name) {
    throw ConversionError::failed(
        QStringLiteral("„%1“ ist keine gewöhnliche Datei und lässt sich nicht auf ein anderes "
                       "Laufwerk bewegen.")
            .arg(shown(name)));
}

struct stat statOf(int folder, const char* name) {
    struct stat info;
    if (::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
        readFailure(name, errno);
    return info;
}

FileDescriptor openIn(int folder, const char* name, int flags, const char* shownName) {
    FileDescriptor file(::openat(folder, name, flags | O_CLOEXEC | O_NOFOLLOW));
    if (file.get() < 0)
        readFailure(shownName, errno);
    return file;
}

// The names in a folder, without "." and "..", sorted so that two listings compare.
std::vector<std::string> namesIn(int folder, const char* shownName) {
    const int listed = ::dup(folder);
    std::unique_ptr<DIR, int (*)(DIR*)> entries(listed >= 0 ? ::fdopendir(listed) : nullptr,
                                                ::closedir);
    if (!entries)
        readFailure(shownName, errno);
    // A duplicate shares the position of every earlier listing of this folder.
    ::rewinddir(entries.get());
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
        errno = 0;
    }
    if (errno != 0)
        readFailure(shownName, errno);
    std::sort(names.begin(), names.end());
    return names;
}

void copyData(const FileDescriptor& from, const FileDescriptor& to, const char* name) {
    std::vector<char> piece(pieceSize);
    for (;;) {
        const ssize_t got = ::read(from.get(), piece.data(), piece.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            readFailure(name, errno);
        if (got == 0)
            return;
        if (const int error = to.writeAll(piece.data(), size_t(got)))
            writeFailure(name, error);
    }
}

// Reads both files from their starts and compares them piece by piece.
bool sameData(int first, int second, const char* name) {
    std::array<std::vector<char>, 2> pieces{std::vector<char>(pieceSize),
                                            std::vector<char>(pieceSize)};
    for (off_t at = 0;;) {
        const ssize_t got = ::pread(first, pieces[0].data(), pieceSize, at);
        if (got < 0)
            readFailure(name, errno);
        ssize_t other = 0;
        while (other < got) {
            const ssize_t more =
                ::pread(second, pieces[1].data() + other, size_t(got - other), at + other);
            if (more < 0)
                readFailure(name, errno);
            if (more == 0)
                return false;
            other += more;
        }
        if (!std::equal(pieces[0].begin(), pieces[0].begin() + got, pieces[1].begin()))
            return false;
        if (got == 0) {
            char extra;
            return ::pread(second, &extra, 1, at) == 0;
        }
        at += got;
    }
}

void keepTimes(int file, const struct stat& original, const char* name) {
    const std::array<timespec, 2> times{original.st_atim, original.st_mtim};
    if (::futimens(file, times.data()) != 0)
        writeFailure(name, errno);
}

void keepPermissionsAndTimes(int file, const struct stat& original, const char* name) {
    if (::fchmod(file, original.st_mode & permissionBits) != 0)
        writeFailure(name, errno);
    keepTimes(file, original, name);
}

// Copies the contents of a regular file into `to`, compares them, then gives it the original's
// permissions and times.
void copyFile(const FileDescriptor& from, const FileDescriptor& to, const struct stat& original,
              const char* name) {
    copyData(from, to, name);
    if (!sameData(from.get(), to.get(), name))
        changedOnTheWay(shown(name));
    keepPermissionsAndTimes(to.get(), original, name);
}

void copyEntries(int from, int to, const char* shownName);

void copyEntry(int fromFolder, int toFolder, const char* name) {
    const struct stat info = statOf(fromFolder, name);
    if (S_ISREG(info.st_mode)) {
        const FileDescriptor from = openIn(fromFolder, name, O_RDONLY, name);
        const FileDescriptor to(::openat(
            toFolder, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, privateFile));
        if (to.get() < 0)
            writeFailure(name, errno);
        copyFile(from, to, info, name);
    } else if (S_ISLNK(info.st_mode)) {
        std::vector<char> target(size_t(info.st_size) + 1);
        const ssize_t length = ::readlinkat(fromFolder, name, target.data(), target.size());
        if (length < 0)
            readFailure(name, errno);
        target[size_t(std::min<ssize_t>(length, ssize_t(target.size() - 1)))] = '\0';
        if (::symlinkat(target.data(), toFolder, name) != 0)
            writeFailure(name, errno);
        const std::array<timespec, 2> times{info.st_atim, info.st_mtim};
        ::utimensat(toFolder, name, times.data(), AT_SYMLINK_NOFOLLOW); // not every file system
    } else if (S_ISDIR(info.st_mode)) {
        if (::mkdirat(toFolder, name, privateFolder) != 0)
            writeFailure(name, errno);
        const FileDescriptor from = openIn(fromFolder, name, O_RDONLY | O_DIRECTORY, name);
        const FileDescriptor to = openIn(toFolder, name, O_RDONLY | O_DIRECTORY, name);
        copyEntries(from.get(), to.get(), name);
    } else {
        notMovable(name);
    }
}

void copyEntries(int from, int to, const char* shownName) {
    for (const std::string& name : namesIn(from, shownName))
        copyEntry(from, to, name.c_str());
}

// Compares two folders entry by entry: the same names, kinds, link targets and bytes.
void compareFolders(int from, int to, const char* shownName) {
    const std::vector<std::string> names = namesIn(from, shownName);
    if (names != namesIn(to, shownName))
        changedOnTheWay(shown(shownName));
    for (const std::string& entry : names) {
        const char* name = entry.c_str();
        const struct stat original = statOf(from, name);
        const struct stat copy = statOf(to, name);
        if ((original.st_mode & S_IFMT) != (copy.st_mode & S_IFMT) ||
            (S_ISREG(original.st_mode) && original.st_size != copy.st_size))
            changedOnTheWay(shown(name));
        if (S_ISDIR(original.st_mode)) {
            const FileDescriptor a = openIn(from, name, O_RDONLY | O_DIRECTORY, name);
            const FileDescriptor b = openIn(to, name, O_RDONLY | O_DIRECTORY, name);
            compareFolders(a.get(), b.get(), name);
        } else if (S_ISLNK(original.st_mode)) {
            std::array<std::vector<char>, 2> targets{std::vector<char>(PATH_MAX),
                                                     std::vector<char>(PATH_MAX)};
            const ssize_t a = ::readlinkat(from, name, targets[0].data(), PATH_MAX);
            const ssize_t b = ::readlinkat(to, name, targets[1].data(), PATH_MAX);
            if (a < 0 || a != b ||
                !std::equal(targets[0].begin(), targets[0].begin() + a, targets[1].begin()))
                changedOnTheWay(shown(name));
        }
        // Regular files were compared byte for byte as they were written.
    }
}

// Folders get their permissions and times last: writing into them changes their times, and a
// folder without write permission would take nothing more.
void finishFolders(int from, int to, const char* shownName) {
    for (const std::string& entry : namesIn(from, shownName)) {
        const char* name = entry.c_str();
        if (!S_ISDIR(statOf(from, name).st_mode))
            continue;
        const FileDescriptor a = openIn(from, name, O_RDONLY | O_DIRECTORY, name);
        const FileDescriptor b = openIn(to, name, O_RDONLY | O_DIRECTORY, name);
        finishFolders(a.get(), b.get(), name);
    }
    struct stat original;
    if (::fstat(from, &original) != 0)
        readFailure(shownName, errno);
    keepPermissionsAndTimes(to, original, shownName);
}

qint64 bytesIn(int folder, const char* shownName) {
    qint64 total = 0;
    for (const std::string& entry : namesIn(folder, shownName)) {
        const char* name = entry.c_str();
        const struct stat info = statOf(folder, name);
        total += info.st_size;
        if (S_ISDIR(info.st_mode))
            total += bytesIn(openIn(folder, name, O_RDONLY | O_DIRECTORY, name).get(), name);
    }
    return total;
}

QString copyFolder(const FileDescriptor& from, const QString& target, const char* name) {
    DiskSpace::require(QFileInfo(target).absolutePath(), bytesIn(from.get(), name));
    return AtomicFile::writeFolder(NameReservation(target), [&](const QString& staging) {
        const FileDescriptor to(
            ::open(QFile::encodeName(staging).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (to.get() < 0)
            writeFailure(name, errno);
        copyEntries(from.get(), to.get(), name);
        compareFolders(from.get(), to.get(), name);
        finishFolders(from.get(), to.get(), name);
    });
}

QString copyRegularFile(const FileDescriptor& from, const struct stat& info, const QString& target,
                        const char* name) {
    DiskSpace::require(QFileInfo(target).absolutePath(), info.st_size);
    return AtomicFile::write(NameReservation(target), [&](const QString& temporary) {
        const FileDescriptor to(
            ::open(QFile::encodeName(temporary).constData(), O_RDWR | O_TRUNC | O_CLOEXEC));
        if (to.get() < 0)
            writeFailure(name, errno);
        copyFile(from, to, info, name);
    });
}

QString copyLink(const QByteArray& source, const QString& target, const char* name) {
    std::vector<char> linkTarget(PATH_MAX);
    const ssize_t length = ::readlink(source.constData(), linkTarget.data(), PATH_MAX - 1);
    if (length < 0)
        readFailure(name, errno);
    linkTarget[size_t(length)] = '\0';
    return NameReservation(target).commit([&](const QString& candidate) {
        if (::symlink(linkTarget.data(), QFile::encodeName(candidate).constData()) == 0)
            return true;
        if (errno != EEXIST)
            writeFailure(name, errno);
        return false;
    });
}

} // namespace

QString copyNew(const QString& source, const QString& target) {
    const QByteArray path = QFile::encodeName(source);
    const QByteArray nameBytes = QFile::encodeName(QFileInfo(source).fileName());
    const char* name = nameBytes.constData();
    struct stat info;
    if (::lstat(path.constData(), &info) != 0)
        readFailure(name, errno);
    if (S_ISLNK(info.st_mode))
        return copyLink(path, target, name);
    if (!S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode)) {
        notMovable(name);
    }
    const FileDescriptor from(
        ::open(path.constData(),
               O_RDONLY | O_NOFOLLOW | O_CLOEXEC | (S_ISDIR(info.st_mode) ? O_DIRECTORY : 0)));
    if (from.get() < 0)
        readFailure(name, errno);
    if (S_ISDIR(info.st_mode))
        return copyFolder(from, target, name);
    return copyRegularFile(from, info, target, name);
}

} // namespace tramix::TreeCopy
