#include "OpenedArchive.h"

#include "ArchiveTools.h"
#include "ConversionError.h"
#include "SystemError.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tramix::ArchiveConverter {

OpenedArchive::OpenedArchive(const QString& path)
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

OpenedArchive::~OpenedArchive() {
    ::close(fd_);
}

QString OpenedArchive::forTool() const {
    return QStringLiteral("/proc/%1/fd/%2").arg(::getpid()).arg(fd_);
}

bool OpenedArchive::read(qint64 offset, qint64 size, QByteArray& into) const {
    into.resize(size);
    for (qint64 done = 0; done < size;) {
        const ssize_t got = ::pread(fd_, into.data() + done, size_t(size - done), offset + done);
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

} // namespace tramix::ArchiveConverter
