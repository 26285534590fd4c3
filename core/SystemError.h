// The file system's failures as sentences a user can act on: no permission, disk full, file gone.
#pragma once

#include <QString>

namespace tramix::SystemError {

// Why writing failed, for an errno value: "Der Datenträger ist voll." and the like; causes a user
// cannot act on name the error ("Systemfehler EINVAL.").
QString writeReason(int error);

// As `writeReason`, for reading.
QString readReason(int error);

// Throws ConversionError "„{name}“ konnte nicht geschrieben werden: {writeReason}" where {name}
// is the last component of `path`.
[[noreturn]] void throwWriteFailure(const QString& path, int error);

// Throws ConversionError "„{name}“ konnte nicht gelesen werden: {readReason}".
[[noreturn]] void throwReadFailure(const QString& path, int error);

} // namespace tramix::SystemError
