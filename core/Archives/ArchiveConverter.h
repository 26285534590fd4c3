// Packing into ZIP or TAR.GZ, extracting, and repacking from one kind into the other, through
// the system's command-line archivers.
#pragma once

#include "OutputContext.h"

#include <QStringList>
#include <optional>

namespace tramix::ArchiveConverter {

enum class Kind { zip, tgz };

QString extension(Kind kind); // "zip" or "tar.gz"
QString title(Kind kind);     // "ZIP" or "TAR.GZ"

// The kind an archive is read as, from its name: .zip is ZIP; .tar.gz, .tgz and .tar are TAR.
std::optional<Kind> kindOf(const QString& path);

// Packs files and folders of one folder into one archive: "{name}.{ext}" for one input,
// "Archiv.{ext}" for several.
QString compress(const QStringList& inputs, Kind kind, const OutputContext& context);

// Unpacks into a new folder named after the archive. The archive is listed first and refused
// whole when it holds absolute or ".." names, devices, FIFOs or sockets, a password, or more than
// a hundred times its size beyond 100 MB, or when its content would not fit on the disk. The
// folder appears only once everything is out and checked: nothing but files, folders and links
// inside it, no more data than listed, no link or hard link that leads out of it. Files keep
// their permission bits, less set-user-ID, set-group-ID and sticky bits.
QString extract(const QString& archive, const OutputContext& context);

// Fotos.zip becomes Fotos.tar.gz and back, through a scratch folder.
QString repack(const QString& archive, Kind kind, const OutputContext& context);

} // namespace tramix::ArchiveConverter
