// Which operations fit a set of files, in the order the wheel and the command line show them.
// Stateless: the lists are built anew for every question.
#pragma once

#include "Archives/ArchiveConverter.h"
#include "Documents/DocumentFormat.h"
#include "FileKind.h"
#include "FileOperation.h"
#include "Image/ImageFormat.h"

#include <QList>
#include <QStringList>
#include <functional>
#include <optional>

namespace tramix::OperationRegistry {

QList<FileOperation> convertOperations(const QStringList& paths);
QList<FileOperation> toolOperations(const QStringList& paths);

// The one kind that all the files share; none for no files or a mix.
std::optional<FileKind> commonKind(const QStringList& paths);

FileOperation imageConvert(const ImageFormat& format);
FileOperation documentConvert(const DocumentFormat& format);
FileOperation archive(ArchiveConverter::Kind kind, const std::optional<QString>& symbol);
FileOperation zipOperation();

using PerFileFunction = std::function<QString(const QString& input, const OutputContext&)>;
FileOperation perFile(const QString& id, const QString& title, const QString& detail,
                      const std::optional<QString>& symbol, PerFileFunction function);

} // namespace tramix::OperationRegistry
