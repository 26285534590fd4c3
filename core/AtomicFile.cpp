#include "AtomicFile.h"

#include "ConversionError.h"
#include "NameReservations.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

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

// As flushToDisk for many files at the price of about one: writeback of all of them starts
// first, so the journal commit that the first fdatasync waits for carries them all and the
// others find little left to do. Unlike syncfs it waits for no other program's data. Files are
// opened one at a time, so that thousands of pages stay within the limit of open files.
void flushAllToDisk(const QStringList& temporaries, const QStringList& destinations) {
    auto eachFile = [&](const std::function<bool(int fd)>& step) {
        for (qsizetype i = 0; i < temporaries.size(); ++i) {
            const int fd =
                ::open(QFile::encodeName(temporaries[i]).constData(), O_RDONLY | O_CLOEXEC);
            const bool done = fd >= 0 && step(fd);
            const int error = errno;
            if (fd >= 0)
                ::close(fd);
            if (!done)
                throwWriteError(destinations[i], error);
        }
    };
    eachFile([](int fd) {
        ::sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE); // only a head start
        return true;
    });
    eachFile([](int fd) { return ::fdatasync(fd) == 0; });
}

// Moves without ever replacing an existing file, also where the file system lacks
// RENAME_NOREPLACE (a hard link fails on an existing name, too).
void moveIntoPlace(const QString& temporary, const QString& destination) {
    const QByteArray from = QFile::encodeName(temporary);
    const QByteArray to = QFile::encodeName(destination);
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return;
    if (errno != EINVAL && errno != ENOSYS)
        throwWriteError(destination, errno);
    if (::link(from.constData(), to.constData()) != 0)
        throwWriteError(destination, errno);
    ::unlink(from.constData());
}

} // namespace

void write(const QString& destination,
           const std::function<void(const QString& temporary)>& produce) {
    const QString temporary = temporaryBeside(destination);
    try {
        produce(temporary);
        flushToDisk(QFile::encodeName(temporary));
        moveIntoPlace(temporary, destination);
    } catch (...) {
        QFile::remove(temporary);
        NameReservations::release({destination});
        throw;
    }
}

void writeAll(const QStringList& destinations,
              const std::function<void(const QStringList& temporaries)>& produce) {
    QStringList temporaries;
    for (const QString& destination : destinations)
        temporaries.append(temporaryBeside(destination));
    qsizetype moved = 0;
    try {
        produce(temporaries);
        flushAllToDisk(temporaries, destinations);
        for (; moved < destinations.size(); ++moved)
            moveIntoPlace(temporaries[moved], destinations[moved]);
    } catch (...) {
        // Only names this call created are removed: a move never replaces a file.
        for (qsizetype i = 0; i < destinations.size(); ++i)
            QFile::remove(i < moved ? destinations[i] : temporaries[i]);
        NameReservations::release(destinations);
        throw;
    }
}

void writeBytes(const QString& destination, const std::function<QByteArray()>& produce) {
    write(destination, [&](const QString& temporary) {
        const QByteArray bytes = produce();
        QFile file(temporary);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly) ||
            file.write(bytes) != bytes.size() || !file.flush()) {
            throwWriteError(destination, file.errorString());
        }
    });
}

} // namespace tramix::AtomicFile
