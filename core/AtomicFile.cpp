#include "AtomicFile.h"

#include "ConversionError.h"
#include "FileDescriptor.h"
#include "FolderTree.h"
#include "Leftovers.h"
#include "NameReservations.h"
#include "SystemError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tramix::AtomicFile {

namespace {

constexpr int newFileMode = 0666; // narrowed by the umask like any new file
constexpr int newFolderMode = 0777;

QByteArray bytesOf(const QString& path) {
    return QFile::encodeName(path);
}

// Named by our pid rather than "self": a tool we start must reach our handle, not its own.
QString throughHandle(int fd) {
    return QStringLiteral("/proc/%1/fd/%2").arg(::getpid()).arg(fd);
}

// ".{name}.{token}.part", the name shortened where the whole would not fit.
QString stagingBeside(const QString& destination) {
    const QFileInfo info(destination);
    const QString token = QString::number(QRandomGenerator::global()->generate64(), 36);
    const QString ending = u'.' + token + QStringLiteral(".part");
    const QString name =
        NameReservations::fittingStart(info.fileName(), bytesOf(u'.' + ending).size());
    return info.absolutePath() + QStringLiteral("/.") + name + ending;
}

// A file that has no name until `place` gives it one; where the file system cannot make unnamed
// files, a hidden staging file beside the result, listed for the sweep until it is gone.
class Temporary {
public:
    explicit Temporary(const QString& destination)
        : destination_(destination) {
        const QString folder = QFileInfo(destination).absolutePath();
        file_ = FileDescriptor(
            ::open(bytesOf(folder).constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, newFileMode));
        if (file_.get() >= 0)
            return;
        if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL)
            SystemError::throwWriteFailure(destination, errno);
        staging_ = stagingBeside(destination);
        entry_.emplace(staging_);
        file_ =
            FileDescriptor(::open(bytesOf(staging_).constData(),
                                  O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, newFileMode));
        if (file_.get() < 0)
            SystemError::throwWriteFailure(destination, errno);
    }
    ~Temporary() {
        if (!staging_.isEmpty())
            ::unlink(bytesOf(staging_).constData());
    }
    Temporary(Temporary&&) = default;

    // The path that writers are given.
    QString path() const { return staging_.isEmpty() ? throughHandle(file_.get()) : staging_; }

    // The data must be on disk before the name points at it, or a crash could leave an empty
    // file. Errors that a writer did not notice show up here, too.
    void flush() const {
        if (::fdatasync(file_.get()) != 0)
            SystemError::throwWriteFailure(destination_, errno);
    }

    // Gives the file `name` unless something has it already: then false. Never replaces.
    bool place(const QString& name) {
        const QByteArray to = bytesOf(name);
        if (!staging_.isEmpty() ? moveStaging(to) : linkUnnamed(to))
            return true;
        if (errno != EEXIST)
            SystemError::throwWriteFailure(name, errno);
        return false;
    }

    void close() {
        if (file_.release() != 0)
            SystemError::throwWriteFailure(destination_, errno);
    }

private:
    bool linkUnnamed(const QByteArray& to) const {
        return ::linkat(AT_FDCWD, bytesOf(throughHandle(file_.get())).constData(), AT_FDCWD,
                        to.constData(), AT_SYMLINK_FOLLOW) == 0;
    }

    // Without RENAME_NOREPLACE a hard link claims the name, for it fails on an existing one.
    bool moveStaging(const QByteArray& to) {
        const QByteArray from = bytesOf(staging_);
        bool done = ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(),
                                RENAME_NOREPLACE) == 0;
        if (!done && (errno == EINVAL || errno == ENOSYS))
            done = ::link(from.constData(), to.constData()) == 0 && ::unlink(from.constData()) == 0;
        if (done)
            staging_.clear();
        return done;
    }

    QString destination_;
    QString staging_;
    std::optional<Leftovers::Entry> entry_;
    FileDescriptor file_;
};

// As Temporary::flush for many files at little more than the price of one: fdatasync calls
// issued side by side share the file system's journal commits and the disk's cache flushes,
// where one after another each waits for its own (200 small files: about 6 ms instead of 24 ms).
void flushAll(const std::vector<Temporary>& temporaries) {
    constexpr size_t mostAtOnce = 16; // the threads only wait for the disk
    std::atomic<size_t> next = 0;
    std::exception_ptr failure;
    std::mutex failureLock;
    auto flush = [&] {
        for (size_t i = next++; i < temporaries.size(); i = next++) {
            try {
                temporaries[i].flush();
            } catch (...) {
                std::lock_guard guard(failureLock);
                if (!failure)
                    failure = std::current_exception();
            }
        }
    };
    {
        std::vector<std::jthread> helpers;
        for (size_t i = 1; i < std::min(mostAtOnce, temporaries.size()); ++i)
            helpers.emplace_back(flush);
        flush();
    }
    if (failure)
        std::rethrow_exception(failure);
}

QString commit(NameReservation& destination, Temporary& temporary) {
    const QString placed =
        destination.commit([&](const QString& name) { return temporary.place(name); });
    temporary.close();
    return placed;
}

void writeWhole(const FileDescriptor& file, const QByteArray& bytes, const QString& destination) {
    if (const int error = file.writeAll(bytes.constData(), size_t(bytes.size())))
        SystemError::throwWriteFailure(destination, error);
}

// Every file in the staged folder, and the folder itself, on disk before it takes its name.
void flushFolder(int folder, const QString& destination) {
    const int listed = ::dup(folder);
    std::unique_ptr<DIR, int (*)(DIR*)> entries(listed >= 0 ? ::fdopendir(listed) : nullptr,
                                                ::closedir);
    if (!entries)
        SystemError::throwWriteFailure(destination, errno);
    while (const dirent* entry = ::readdir(entries.get())) {
        struct stat info;
        const bool regular = entry->d_type == DT_REG ||
                             (entry->d_type == DT_UNKNOWN &&
                              ::fstatat(folder, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
                              S_ISREG(info.st_mode));
        if (!regular)
            continue;
        FileDescriptor file(::openat(folder, entry->d_name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
        if (file.get() < 0 || ::fdatasync(file.get()) != 0)
            SystemError::throwWriteFailure(destination, errno);
    }
    if (::fsync(folder) != 0)
        SystemError::throwWriteFailure(destination, errno);
}

bool sameFile(int fd, const QString& path) {
    struct stat opened, named;
    return ::fstat(fd, &opened) == 0 && ::lstat(bytesOf(path).constData(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

QString write(NameReservation destination,
              const std::function<void(const QString& temporary)>& produce) {
    Temporary temporary(destination.path());
    produce(temporary.path());
    temporary.flush();
    return commit(destination, temporary);
}

QStringList writeAll(std::vector<NameReservation> destinations,
                     const std::function<void(const QStringList& temporaries)>& produce) {
    std::vector<Temporary> temporaries;
    temporaries.reserve(destinations.size());
    QStringList paths, placed;
    for (const NameReservation& destination : destinations) {
        temporaries.emplace_back(destination.path());
        paths.append(temporaries.back().path());
    }
    try {
        produce(paths);
        flushAll(temporaries);
        for (size_t i = 0; i < temporaries.size(); ++i)
            placed.append(commit(destinations[i], temporaries[i]));
    } catch (...) {
        // Only names this call created are removed: a move never replaces a file.
        for (const QString& path : std::as_const(placed))
            QFile::remove(path);
        throw;
    }
    return placed;
}

QString writeBytes(NameReservation destination, const std::function<QByteArray()>& produce) {
    const QByteArray bytes = produce();
    const QString name = destination.path();
    return write(std::move(destination), [&](const QString& temporary) {
        FileDescriptor file(::open(bytesOf(temporary).constData(), O_WRONLY | O_TRUNC | O_CLOEXEC));
        if (file.get() < 0)
            SystemError::throwWriteFailure(name, errno);
        writeWhole(file, bytes, name);
        if (file.release() != 0)
            SystemError::throwWriteFailure(name, errno);
    });
}

QString writeFolder(NameReservation destination,
                    const std::function<void(const QString& staging)>& produce) {
    const QString staging = stagingBeside(destination.path());
    const QByteArray stagingBytes = bytesOf(staging);
    Leftovers::Entry entry(staging);
    if (::mkdir(stagingBytes.constData(), newFolderMode) != 0)
        SystemError::throwWriteFailure(destination.path(), errno);
    // Opened without following links: whatever is swapped in for the name later, the results go
    // into the folder made here.
    FileDescriptor folder(
        ::open(stagingBytes.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (folder.get() < 0) {
        const int error = errno;
        ::rmdir(stagingBytes.constData());
        SystemError::throwWriteFailure(destination.path(), error);
    }
    try {
        produce(throughHandle(folder.get()));
        flushFolder(folder.get(), destination.path());
        const QString placed = destination.commit(
            [&](const QString& name) { return FolderTree::moveIntoPlace(staging, name); });
        if (!sameFile(folder.get(), placed)) {
            throw ConversionError::failed(
                QStringLiteral("„%1“ wurde während des Schreibens ersetzt.")
                    .arg(QFileInfo(placed).fileName()));
        }
        return placed;
    } catch (...) {
        // Emptied through the handle, so that a link swapped in for the name leads nowhere.
        QDir(throughHandle(folder.get())).removeRecursively();
        if (sameFile(folder.get(), staging))
            ::rmdir(stagingBytes.constData());
        throw;
    }
}

void fillFrom(const QString& temporary, const QString& source) {
    QFile from(source);
    if (!from.open(QIODevice::ReadOnly))
        SystemError::throwReadFailure(source, errno);
    FileDescriptor to(::open(bytesOf(temporary).constData(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (to.get() < 0)
        SystemError::throwWriteFailure(source, errno);
    constexpr qint64 pieceSize = 1 << 20;
    for (QByteArray piece = from.read(pieceSize); !piece.isEmpty(); piece = from.read(pieceSize))
        writeWhole(to, piece, source);
    if (from.error() != QFileDevice::NoError)
        SystemError::throwReadFailure(source, EIO);
    if (to.release() != 0)
        SystemError::throwWriteFailure(source, errno);
}

} // namespace tramix::AtomicFile
