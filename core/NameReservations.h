// Process-wide promises of output paths, so that parallel jobs never pick the same name.
#pragma once

#include <QString>
#include <QStringList>

namespace tramix::NameReservations {

// The first variant of `path` that neither exists nor is promised ("{base} {n}{ext}", n from 2),
// now reserved for the caller.
QString unique(const QString& path);

// Drops reservations once the files exist or the job has ended; unknown paths are ignored.
void release(const QStringList& paths);

} // namespace tramix::NameReservations
