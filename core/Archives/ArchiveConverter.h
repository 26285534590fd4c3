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

// Unpacks into a new folder named after the archive. The folder appears only once everything
// is out and checked: entries with absolute or ".." paths are kept inside it or refused by the
// archivers, and a link that points out of it fails the whole extraction.
QString extract(const QString& archive, const OutputContext& context);

// Fotos.zip becomes Fotos.tar.gz and back, through a private temporary folder.
QString repack(const QString& archive, Kind kind, const OutputContext& context);

} // namespace tramix::ArchiveConverter
