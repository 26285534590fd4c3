#include "FolderTree.h"

#include "ConversionError.h"
#include "SystemError.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace tramix::FolderTree {

namespace fs = std::filesystem;

namespace {

constexpr mode_t anyoneMayUse = 0777; // less the umask, as for any new folder

fs::path toPath(const QString& path) {
    return fs::path(QFile::encodeName(path).toStdString());
}

QString fromPath(const fs::path& path) {
    return QFile::decodeName(QByteArray::fromStdString(path.string()));
}

[[noreturn]] void throwFolderError(const QString& path, const QString& reason) {
    throw ConversionError::failed(QStringLiteral("Der Ordner „%1“ konnte nicht angelegt werden: %2")
                                      .arg(QFileInfo(path).fileName(), reason));
}

bool isRealFolder(const fs::directory_entry& entry) {
    std::error_code error;
    return entry.symlink_status(error).type() == fs::file_type::directory;
}

// Archives may hold folders that even their owner cannot enter; we own what we extracted.
void grantOwner(const fs::path& folder, fs::perms perms) {
    std::error_code error;
    fs::permissions(folder, perms, fs::perm_options::add | fs::perm_options::nofollow, error);
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        if (isRealFolder(*it))
            grantOwner(it->path(), perms);
    }
}

bool isInside(const fs::path& path, const fs::path& root) {
    const fs::path relative = path.lexically_relative(root);
    return !relative.empty() && *relative.begin() != "..";
}

QString reasonOf(int error) {
    return SystemError::writeReason(error);
}

// Without RENAME_NOREPLACE, the name is claimed by making an empty folder under it, which the
// rename may then replace, since it is our own. Returns 0 or the errno.
int renameOntoNewFolder(const QByteArray& source, const QByteArray& target) {
    if (::mkdir(target.constData(), S_IRWXU) != 0)
        return errno;
    if (::rename(source.constData(), target.constData()) == 0)
        return 0;
    const int error = errno;
    ::rmdir(target.constData());
    return error;
}

} // namespace

void create(const QString& path) {
    std::error_code error;
    fs::create_directories(toPath(path), error);
    if (error)
        throwFolderError(path, reasonOf(error.value()));
}

void remove(const QString& path) {
    const fs::path root = toPath(path);
    std::error_code error;
    if (fs::symlink_status(root, error).type() == fs::file_type::directory)
        grantOwner(root, fs::perms::owner_all);
    fs::remove_all(root, error);
}

std::optional<QString> linkLeaving(const QString& rootPath) {
    std::error_code error;
    const fs::path root = fs::canonical(toPath(rootPath), error);
    if (error)
        return QStringLiteral(".");
    grantOwner(root, fs::perms::owner_read | fs::perms::owner_exec);
    for (fs::recursive_directory_iterator it(root, error), end; !error && it != end;
         it.increment(error)) {
        if (!it->is_symlink(error))
            continue;
        std::error_code resolveError;
        const fs::path target = fs::weakly_canonical(it->path(), resolveError);
        if (resolveError || !isInside(target, root))
            return fromPath(it->path().lexically_relative(root));
    }
    if (error)
        return QStringLiteral(".");
    return std::nullopt;
}

bool createNew(const QString& path) {
    std::error_code error;
    fs::create_directories(toPath(path).parent_path(), error);
    if (error)
        throwFolderError(path, reasonOf(error.value()));
    if (::mkdir(QFile::encodeName(path).constData(), anyoneMayUse) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    throwFolderError(path, reasonOf(errno));
}

bool moveIntoPlace(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) ==
        0)
        return true;
    int error = errno;
    if (error == EINVAL || error == ENOSYS)
        error = renameOntoNewFolder(source, target);
    if (error == 0)
        return true;
    if (error == EEXIST)
        return false;
    throwFolderError(to, reasonOf(error));
}

} // namespace tramix::FolderTree
