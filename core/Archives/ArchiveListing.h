// What an archive holds, read before anything is written: how much, and whether anything in it
// must not be extracted.
#pragma once

#include <QByteArray>
#include <QHash>
#include <limits>
#include <sys/types.h>

namespace tramix::ArchiveConverter {

class OpenedArchive;

struct ArchiveListing {
    qint64 entries = 0;
    qint64 bytes = 0;       // uncompressed, as the archive claims
    bool special = false;   // devices, FIFOs, sockets and kinds unknown to us
    bool outside = false;   // absolute or ".." names, or hard links to such
    bool encrypted = false; // would make unzip ask for a password
    // TAR: the permission bits of files and folders by their normalised names; the umask that tar
    // applies on extraction takes bits away, the walk afterwards puts them back.
    QHash<QByteArray, mode_t> modes;

    void add(qint64 size) {
        bytes = size > std::numeric_limits<qint64>::max() - bytes
                    ? std::numeric_limits<qint64>::max()
                    : bytes + size;
    }

    // As tar lists it. Throws ConversionError "„{name}“ ist beschädigt." and the like.
    static ArchiveListing ofTar(const OpenedArchive& archive);

    // From the ZIP's central directory, found as unzip finds it: the last end record in the final
    // 64 KB, with the directory just before it (data prepended to the archive moves both alike).
    static ArchiveListing ofZip(const OpenedArchive& archive);
};

} // namespace tramix::ArchiveConverter
