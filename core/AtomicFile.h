// Results appear whole or not at all: they are written as unnamed files in their final folder
// (or, where the file system cannot, under a hidden staging name beside it) and get their name
// only when they are complete and on disk.
#pragma once

#include "NameReservation.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace tramix::AtomicFile {

// Calls `produce` with a temporary path on the file system of `destination`, then gives the
// finished file the reserved name or, when another program took that name meanwhile, the next
// free one; no file is ever replaced. Returns the path the file got. When `produce` or the move
// throws, the temporary file is removed and the error is passed on.
//
// The temporary path is usually "/proc/{pid}/fd/{n}": it has no extension and its folder is not
// the result's, so writers that choose a format by the extension must be told the format, and
// tools that make their own temporary files beside the output write elsewhere and `fillFrom`.
QString write(NameReservation destination,
              const std::function<void(const QString& temporary)>& produce);

// As `write`, for several results that appear together: `produce` gets one temporary path per
// destination, beside it, and fills them all, in any order or from several threads. They are
// then made durable together (one flush for the lot rather than one per file) and moved into
// place, each under its own name or the next free one. Returns their paths, in order. When
// anything fails, neither a temporary nor any of the results is left and the error is passed on.
QStringList writeAll(std::vector<NameReservation> destinations,
                     const std::function<void(const QStringList& temporaries)>& produce);

// As `write`, for results that are made in memory; `produce` runs before the file is created.
QString writeBytes(NameReservation destination, const std::function<QByteArray()>& produce);

// As `write`, for a folder of results: `produce` fills a new, empty staging folder (given as a
// path through a handle, so a link swapped in for its name is never followed), which is then
// renamed into place whole. Returns the folder's path. On failure nothing is left.
QString writeFolder(NameReservation destination,
                    const std::function<void(const QString& staging)>& produce);

// Copies the file `source` into `temporary`, replacing what it held; for tools that can only
// write to a path of their own choosing. Throws ConversionError on any read or write failure.
void fillFrom(const QString& temporary, const QString& source);

} // namespace tramix::AtomicFile
