#include "SystemError.h"

#include "ConversionError.h"

#include <QFileInfo>
#include <cerrno>
#include <cstring>

namespace tramix::SystemError {

namespace {

// Causes that read the same whichever way the data was going.
QString commonReason(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return QStringLiteral("Der Datenträger ist voll.");
    case EFBIG:
        return QStringLiteral("Die Datei ist zu groß für diesen Datenträger.");
    case EROFS:
        return QStringLiteral("Der Datenträger ist schreibgeschützt.");
    case ENAMETOOLONG:
        return QStringLiteral("Der Name ist zu lang.");
    case EIO:
        return QStringLiteral("Der Datenträger meldet einen Fehler.");
    case EMFILE:
    case ENFILE:
        return QStringLiteral("Es sind zu viele Dateien geöffnet.");
    case ENOMEM:
        return QStringLiteral("Der Arbeitsspeicher reicht nicht.");
    default: {
        const char* name = ::strerrorname_np(error);
        return QStringLiteral("Systemfehler %1.")
            .arg(name ? QString::fromLatin1(name) : QString::number(error));
    }
    }
}

QString nameOf(const QString& path) {
    return QFileInfo(path).fileName();
}

} // namespace

QString writeReason(int error) {
    switch (error) {
    case EACCES:
    case EPERM:
        return QStringLiteral("Im Ordner fehlt die Schreibberechtigung.");
    case ENOENT:
    case ENOTDIR:
        return QStringLiteral("Der Ordner ist nicht mehr da.");
    default:
        return commonReason(error);
    }
}

QString readReason(int error) {
    switch (error) {
    case EACCES:
    case EPERM:
        return QStringLiteral("Die Datei darf nicht gelesen werden.");
    case ENOENT:
    case ENOTDIR:
        return QStringLiteral("Die Datei ist nicht mehr da.");
    default:
        return commonReason(error);
    }
}

void throwWriteFailure(const QString& path, int error) {
    throw ConversionError::failed(QStringLiteral("„%1“ konnte nicht geschrieben werden: %2")
                                      .arg(nameOf(path), writeReason(error)));
}

void throwReadFailure(const QString& path, int error) {
    throw ConversionError::failed(QStringLiteral("„%1“ konnte nicht gelesen werden: %2")
                                      .arg(nameOf(path), readReason(error)));
}

} // namespace tramix::SystemError
