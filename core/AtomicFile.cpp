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

// Moves without ever replacing an existing file, also where the file system lacks
// RENAME_NOREPLACE (a hard link fails on an existing name, too).
void moveIntoPlace(const QString& temporary, const QString& destination) {
    const QByteArray from = QFile::encodeName(temporary);
    const QByteArray to = QFile::encodeName(destination);
    flushToDisk(from);
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
        moveIntoPlace(temporary, destination);
    } catch (...) {
        QFile::remove(temporary);
        NameReservations::release({destination});
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
