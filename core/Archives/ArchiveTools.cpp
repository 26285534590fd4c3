#include "ArchiveTools.h"

#include "ConversionError.h"
#include "DiskSpace.h"
#include "SystemError.h"

#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <locale.h>

namespace tramix::ArchiveConverter {

QString nameOf(const QString& path) {
    return QFileInfo(QDir::cleanPath(path)).fileName();
}

QString damaged(const QString& archive) {
    return QStringLiteral("„%1“ ist beschädigt.").arg(nameOf(archive));
}

QString notExtracted(const QString& archive, const QString& reason) {
    return QStringLiteral("„%1“ wurde nicht entpackt: %2").arg(nameOf(archive), reason);
}

QString couldNotExtract(const QString& archive, const QString& reason) {
    return QStringLiteral("„%1“ konnte nicht entpackt werden: %2").arg(nameOf(archive), reason);
}

QString couldNotRead(const QString& path, const QString& reason) {
    return QStringLiteral("„%1“ konnte nicht gelesen werden: %2").arg(nameOf(path), reason);
}

QString couldNotWrite(const QString& path, const QString& reason) {
    return QStringLiteral("„%1“ konnte nicht geschrieben werden: %2").arg(nameOf(path), reason);
}

[[noreturn]] void fail(const QString& sentence) {
    throw ConversionError::failed(sentence);
}

[[noreturn]] void failEmpty() {
    fail(QStringLiteral("Das Archiv ist leer."));
}

QProcessEnvironment toolEnvironment() {
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("LANGUAGE"), QString());
    return environment;
}

int causeIn(const QString& errorOutput) {
    static const locale_t english = ::newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    for (const int cause : {ENOSPC, EDQUOT, EROFS, EACCES, EPERM, EFBIG, EIO, ENAMETOOLONG, EMFILE,
                            ENFILE, ENOMEM, ENOENT, ENOTDIR}) {
        if (english && errorOutput.contains(QString::fromUtf8(::strerror_l(cause, english))))
            return cause;
    }
    return 0;
}

QString writeProblem(int cause) {
    switch (cause) {
    case ENOSPC:
    case EDQUOT:
    case EROFS:
    case EACCES:
    case EPERM:
    case EIO:
    case ENAMETOOLONG:
    case EMFILE:
    case ENFILE:
    case ENOMEM:
        return SystemError::writeReason(cause);
    case EFBIG: // FAT file systems end at 4 GB
        return QStringLiteral("Eine Datei ist zu groß für diesen Datenträger.");
    default:
        return {};
    }
}

QString shortWriteProblem(const QString& folder) {
    constexpr qint64 nearlyFull = 64 * 1000 * 1000;
    const qint64 available = DiskSpace::available(folder);
    return writeProblem(available < 0 || available > nearlyFull ? EFBIG : ENOSPC);
}

} // namespace tramix::ArchiveConverter
