#include "OfficeProfile.h"

#include "ConversionError.h"
#include "Leftovers.h"

#include <QDir>
#include <QFile>
#include <QUrl>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace tramix {

namespace {

// More conversions at once than this wait for a profile: each LibreOffice takes a core and
// a few hundred megabytes.
constexpr int profileCount = 4;

int openLock(const QString& path) {
    return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
}

} // namespace

OfficeProfile::OfficeProfile() {
    const QString base = Leftovers::cacheFolder() + QStringLiteral("/LibreOffice");
    if (!QDir().mkpath(base))
        throw ConversionError::failed(
            QStringLiteral("Der Ordner „%1“ kann nicht angelegt werden.").arg(base));
    for (int slot = 0; slot < profileCount && lock_ < 0; ++slot) {
        const int fd = openLock(QStringLiteral("%1/%2.lock").arg(base).arg(slot));
        if (fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0) {
            lock_ = fd;
            path_ = QStringLiteral("%1/%2").arg(base).arg(slot);
        } else if (fd >= 0) {
            ::close(fd);
        }
    }
    if (lock_ >= 0)
        return;
    lock_ = openLock(base + QStringLiteral("/0.lock"));
    if (lock_ < 0 || ::flock(lock_, LOCK_EX) != 0)
        throw ConversionError::failed(
            QStringLiteral("Der Ordner „%1“ kann nicht beschrieben werden.").arg(base));
    path_ = base + QStringLiteral("/0");
}

OfficeProfile::~OfficeProfile() {
    ::close(lock_); // also releases the lock
}

QString OfficeProfile::url() const {
    return QString::fromUtf8(QUrl::fromLocalFile(path_).toEncoded());
}

} // namespace tramix
