#include "ExtractedTree.h"

#include "ArchiveListing.h"
#include "ArchiveTools.h"
#include "FileDescriptor.h"

#include <QHash>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <utility>

namespace tramix::ArchiveConverter {

namespace {

class ExtractedTree {
public:
    ExtractedTree(const QString& archive, const ArchiveListing& listing)
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
                const FileDescriptor inner(
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
    const ArchiveListing& listing_;
    qint64 bytes_ = 0;
    QHash<std::pair<dev_t, ino_t>, LinkedFile> linkedFiles_;
};

} // namespace

qint64 checkExtractedTree(int top, const QString& archive, const ArchiveListing& listing) {
    return ExtractedTree(archive, listing).check(top);
}

} // namespace tramix::ArchiveConverter
