// Which operations fit a set of files, in the order the wheels and the command line show them.
// Stateless: the lists are made anew from the catalogue for every question.
#pragma once

#include "DesktopHandlers.h"
#include "FileKind.h"
#include "FileOperation.h"
#include "Language.h"
#include "WheelMode.h"

#include <QList>
#include <QStringList>
#include <optional>

namespace tramix::OperationRegistry {

// The operations of one wheel for these files, titled in `language`. Rows that need the desktop
// call its handlers: without a desktop (the command line) they say so, and a handler not set says
// that it is not supported.
QList<FileOperation> operations(WheelMode mode, const QStringList& paths,
                                const DesktopHandlers* desktop = nullptr,
                                Language language = Language::german);

QList<FileOperation> convertOperations(const QStringList& paths);
QList<FileOperation> toolOperations(const QStringList& paths);

// The one kind that all the files share; none for no files or a mix.
std::optional<FileKind> commonKind(const QStringList& paths);

// Why the operation with this id cannot run without a desktop, or none when it can.
std::optional<QString> needsDesktop(const QString& id);

} // namespace tramix::OperationRegistry
