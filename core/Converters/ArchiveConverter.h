// Packing into ZIP or TAR.GZ, extracting, and repacking from one kind into the other.
#pragma once

#include "../OutputContext.h"

#include <QStringList>

namespace tramix::ArchiveConverter {

enum class Kind { zip, tgz };

QString extension(Kind kind); // "zip" or "tar.gz"
QString title(Kind kind);     // "ZIP" or "TAR.GZ"

QString compress(const QStringList& inputs, Kind kind, const OutputContext& context);
QString extract(const QString& archive, const OutputContext& context);
QString repack(const QString& archive, Kind kind, const OutputContext& context);

} // namespace tramix::ArchiveConverter
