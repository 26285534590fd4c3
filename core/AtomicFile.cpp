#include "AtomicFile.h"

#include "ConversionError.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tramix::AtomicFile {

namespace {

QString temporaryBeside(const QString& destination) {
    const QFileInfo info(destination);
    const QString token = QString::number(QRandomGenerator::global()->generate64(), 36);
    return QStringLiteral("%1/.%2.%3.part").arg(info.absolutePath(), info.fileName(), token);
}

[[noreturn]] void throwWriteError(const QString& destination, const QString& reason) {
    throw ConversionError::failed(QStringLiteral("„%1“ konnte nicht geschrieben werden: %2")
                                      .arg(QFileInfo(destination).fileName(), reason));
}

[[noreturn]] void throwWriteError(const QString& destination, int error) {
    throwWriteError(destination, QString::fromLocal8Bit(std::strerror(error)));
}

// The data must be on disk before the name points at it, or a crash could leave an empty file.
void flushToDisk(const QByteArray& path) {
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

// As flushToDisk for many files at little more than the price of one: fdatasync calls issued side
// by side share the file system's journal commits and the disk's cache flushes, where one after
// another each waits for its own (200 small files: about 6 ms instead of 24 ms). syncfs would be
// quicker still, but it also waits for every other program's unwritten data on that disk.
void flushAllToDisk(const QStringList& temporaries, const QStringList& destinations) {
    constexpr qsizetype mostAtOnce = 16; // the threads only wait for the disk
    std::atomic<qsizetype> next = 0;
    std::mutex failureLock;
    qsizetype failed = -1; // under failureLock, with its errno
    int failure = 0;
    auto flush = [&] {
        for (qsizetype i = next++; i < temporaries.size(); i = next++) {
            const int fd =
                ::open(QFile::encodeName(temporaries[i]).constData(), O_RDONLY | O_CLOEXEC);
            const bool done = fd >= 0 && ::fdatasync(fd) == 0;
            const int error = errno;
            if (fd >= 0)
                ::close(fd);
            if (done)
                continue;
            std::lock_guard guard(failureLock);
            if (failed < 0)
                failed = i, failure = error;
        }
    };
    {
        std::vector<std::jthread> helpers;
        for (qsizetype i = 1; i < std::min(mostAtOnce, temporaries.size()); ++i)
            helpers.emplace_back(flush);
        flush();
    }
    if (failed >= 0)
        throwWriteError(destinations[failed], failure);
}

// Moves without ever replacing an existing file, also where the file system lacks
// RENAME_NOREPLACE (a hard link fails on an existing name, too). False when the name is taken.
bool moveIntoPlace(const QString& temporary, const QString& destination) {
    const QByteArray from = QFile::encodeName(temporary);
    const QByteArray to = QFile::encodeName(destination);
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    int error = errno;
    if (error == EINVAL || error == ENOSYS) {
        if (::link(from.constData(), to.constData()) == 0) {
            ::unlink(from.constData());
            return true;
        }
        error = errno;
    }
    if (error != EEXIST)
        throwWriteError(destination, error);
    return false;
}

QString commit(NameReservation& destination, const QString& temporary) {
    return destination.commit([&](const QString& name) { return moveIntoPlace(temporary, name); });
}

} // namespace

QString write(NameReservation destination,
              const std::function<void(const QString& temporary)>& produce) {
    const QString temporary = temporaryBeside(destination.path());
    try {
        produce(temporary);
        flushToDisk(QFile::encodeName(temporary));
        return commit(destination, temporary);
    } catch (...) {
        QFile::remove(temporary);
        throw;
    }
}

QStringList writeAll(std::vector<NameReservation> destinations,
                     const std::function<void(const QStringList& temporaries)>& produce) {
    QStringList names, temporaries, placed;
    for (const NameReservation& destination : destinations) {
        names.append(destination.path());
        temporaries.append(temporaryBeside(destination.path()));
    }
    try {
        produce(temporaries);
        flushAllToDisk(temporaries, names);
        for (qsizetype i = 0; i < temporaries.size(); ++i)
            placed.append(commit(destinations[size_t(i)], temporaries[i]));
    } catch (...) {
        // Only names this call created are removed: a move never replaces a file.
        for (qsizetype i = 0; i < temporaries.size(); ++i)
            QFile::remove(i < placed.size() ? placed[i] : temporaries[i]);
        throw;
    }
    return placed;
}

QString writeBytes(NameReservation destination, const std::function<QByteArray()>& produce) {
    const QString name = destination.path();
    return write(std::move(destination), [&](const QString& temporary) {
        const QByteArray bytes = produce();
        QFile file(temporary);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly) ||
            file.write(bytes) != bytes.size() || !file.flush()) {
            throwWriteError(name, file.errorString());
        }
    });
}

} // namespace tramix::AtomicFile
