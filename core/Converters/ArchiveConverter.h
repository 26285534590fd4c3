// Packing into ZIP or TAR.GZ, extracting, and repacking from one kind into the other.
#pragma once

#include "../OutputContext.h"

#include <QProcessEnvironment>
#include <QStringList>

namespace tramix::ArchiveConverter {

enum class Kind { zip, tgz };

QString extension(Kind kind); // "zip" or "tar.gz"
QString title(Kind kind);     // "ZIP" or "TAR.GZ"

QString compress(const QStringList& inputs, Kind kind, const OutputContext& context);
QString extract(const QString& archive, const OutputContext& context);
QString repack(const QString& archive, Kind kind, const OutputContext& context);

// Runs one command-line tool to its end and throws ConversionError with the tool's own error
// output (or "{tool} ist fehlgeschlagen." when it said nothing) unless it exits with 0.
// `extraEnvironment` is merged over this process's environment.
void run(const QString& tool, const QStringList& arguments, const QString& workingFolder = {},
         const QProcessEnvironment& extraEnvironment = {});

} // namespace tramix::ArchiveConverter
