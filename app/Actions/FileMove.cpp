#include "FileMove.h"

#include "ConversionError.h"
#include "FolderTree.h"
#include "NameReservation.h"
#include "SystemError.h"
#include "TreeCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tramix::FileMove {

namespace {

QByteArray bytesOf(const QString& path) {
    return QFile::encodeName(path);
}

[[noreturn]] void moveFailure(const QString& source, int error) {
    if (error == ENOENT && !QFileInfo::exists(source) && !QFileInfo(source).isSymLink())
        throw ConversionError::failed(
            QStringLiteral("„%1“ gibt es nicht mehr.").arg(QFileInfo(source).fileName()));
    throw ConversionError::failed(
        QStringLiteral("„%1“ konnte nicht bewegt werden: %2")
            .arg(QFileInfo(source).fileName(), SystemError::writeReason(error)));
}

// Where the file system has no RENAME_NOREPLACE, the name is claimed by something that fails on
// an existing name: a hard link for a file, an empty folder (which rename may replace) for a
// folder. Returns 0 or the errno.
int claimAndRename(const QByteArray& from, const QByteArray& to) {
    struct stat info;
    if (::lstat(from.constData(), &info) != 0)
        return errno;
    if (!S_ISDIR(info.st_mode)) {
        if (::link(from.constData(), to.constData()) != 0)
            return errno;
        return ::unlink(from.constData()) == 0 ? 0 : errno;
    }
    if (::mkdir(to.constData(), S_IRWXU) != 0)
        return errno;
    if (::rename(from.constData(), to.constData()) == 0)
        return 0;
    const int error = errno;
    ::rmdir(to.constData());
    return error;
}

// Renames without replacing; 0 or the errno (EEXIST when the name is taken).
int renameNew(const QString& from, const QString& to) {
    const QByteArray source = bytesOf(from);
    const QByteArray target = bytesOf(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) ==
        0)
        return 0;
    if (errno == EINVAL || errno == ENOSYS)
        return claimAndRename(source, target);
    return errno;
}

bool isInside(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(folder + u'/');
}

// After a copy the original goes; true when it is gone.
bool removeOriginal(const QString& source) {
    const QFileInfo info(source);
    if (info.isDir() && !info.isSymLink())
        FolderTree::remove(source);
    else
        ::unlink(bytesOf(source).constData());
    struct stat left;
    return ::lstat(bytesOf(source).constData(), &left) != 0 && errno == ENOENT;
}

} // namespace

QString into(const QString& source, const QString& folder) {
    const QFileInfo item(source);
    if (!item.exists() && !item.isSymLink())
        moveFailure(source, ENOENT);
    const QString target = QDir(folder).canonicalPath();
    if (target.isEmpty() || !QFileInfo(target).isDir()) {
        throw ConversionError::failed(QStringLiteral("Den Ordner „%1“ gibt es nicht mehr.")
                                          .arg(QFileInfo(folder).fileName()));
    }
    const QString home = QDir(item.absolutePath()).canonicalPath();
    if (home == target)
        return source;
    if (item.isDir() && !item.isSymLink() && isInside(target, item.canonicalFilePath())) {
        throw ConversionError::failed(
            QStringLiteral("„%1“ lässt sich nicht in sich selbst bewegen.").arg(item.fileName()));
    }

    const QString wanted = target + u'/' + item.fileName();
    bool otherFileSystem = false;
    const QString placed = NameReservation(wanted).commit([&](const QString& name) {
        const int error = renameNew(source, name);
        if (error == EXDEV) {
            otherFileSystem = true; // nothing was placed; the copy below reserves its own name
            return true;
        }
        if (error == EEXIST)
            return false;
        if (error != 0)
            moveFailure(source, error);
        return true;
    });
    if (!otherFileSystem)
        return placed;

    // The original must be removable, or the move would end as a copy.
    if (::access(bytesOf(item.absolutePath()).constData(), W_OK | X_OK) != 0)
        moveFailure(source, errno);
    const QString copy = TreeCopy::copyNew(source, wanted);
    if (!removeOriginal(source)) {
        throw ConversionError::failed(
            QStringLiteral("„%1“ liegt jetzt auch in „%2“, das Original ließ sich aber nicht "
                           "löschen.")
                .arg(item.fileName(), QFileInfo(target).fileName()));
    }
    return copy;
}

} // namespace tramix::FileMove
