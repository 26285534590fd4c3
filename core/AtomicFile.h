// Results appear whole or not at all: they are written beside their final name and moved there.
#pragma once

#include "NameReservation.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace tramix::AtomicFile {

// Calls `produce` with a temporary path in the folder of `destination`, then moves the finished
// file under the reserved name or, when another program took that name meanwhile, the next free
// one; no file is ever replaced. Returns the path the file got. When `produce` or the move
// throws, the temporary file is removed and the error is passed on.
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

} // namespace tramix::AtomicFile
