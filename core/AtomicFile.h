// Results appear whole or not at all: they are written beside their final name and moved there.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>

namespace tramix::AtomicFile {

// Calls `produce` with a temporary path in the destination's folder, then moves the finished
// file to `destination`, which must not exist (it is never replaced). When `produce` or the move
// throws, the temporary file is removed, the reservation of `destination` is released and the
// error is passed on.
void write(const QString& destination,
           const std::function<void(const QString& temporary)>& produce);

// As `write`, for several results that appear together: `produce` gets one temporary path per
// destination, beside it, and fills them all, in any order or from several threads. They are
// then made durable together (one flush for the lot rather than one per file) and moved into
// place. When anything fails, neither a temporary nor any of the destinations is left, all
// reservations are released and the error is passed on.
void writeAll(const QStringList& destinations,
              const std::function<void(const QStringList& temporaries)>& produce);

// As `write`, for results that are made in memory; `produce` runs before the file is created.
void writeBytes(const QString& destination, const std::function<QByteArray()>& produce);

} // namespace tramix::AtomicFile
