// Process-wide promises of output paths, so that parallel jobs never pick the same name before
// either file exists. Used through NameReservation, which gives its promise back by itself.
#pragma once

#include <QString>

namespace tramix::NameReservations {

// The first variant of `path` that neither exists nor is promised ("{base} {n}{ext}", n from 2),
// now reserved for the caller.
QString unique(const QString& path);

// The longest start of `name` that, with `otherBytes` more, fits a file name of 255 bytes; never
// cut inside a character.
QString fittingStart(const QString& name, qsizetype otherBytes);

// Drops the promise of `path`; an unknown path is ignored.
void release(const QString& path);

} // namespace tramix::NameReservations
