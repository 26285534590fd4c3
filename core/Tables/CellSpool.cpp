#include "CellSpool.h"

#include "ConversionError.h"
#include "SystemError.h"

#include <cerrno>
#include <cstring>

namespace tramix {

namespace {

constexpr qsizetype headerSize = 3 * sizeof(qint32);
constexpr qint64 pieceSize = 1 << 20;

[[noreturn]] void spoolFailed(const QString& reason) {
    throw ConversionError::failed(
        QStringLiteral("Die Tabelle konnte nicht zwischengespeichert werden: %1").arg(reason));
}

} // namespace

CellSpool::CellSpool(const QString& path)
    : file_(path) {
    errno = 0;
    if (!file_.open(QIODevice::ReadWrite | QIODevice::NewOnly))
        spoolFailed(SystemError::writeReason(errno ? errno : EIO));
    out_.emplace(file_, [](int error) { spoolFailed(SystemError::writeReason(error)); });
}

void CellSpool::add(int row, int column, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    const qint32 header[] = {row, column, static_cast<qint32>(utf8.size())};
    out_->append(QByteArrayView(reinterpret_cast<const char*>(header), headerSize));
    out_->append(utf8);
}

void CellSpool::replay(const CellHandler& onCell) {
    out_->flush();
    errno = 0;
    if (!file_.flush() || !file_.seek(0))
        spoolFailed(SystemError::writeReason(errno ? errno : EIO));
    QByteArray buffer;
    qsizetype at = 0;
    for (;;) {
        errno = 0;
        const QByteArray piece = file_.read(pieceSize);
        if (file_.error() != QFileDevice::NoError)
            spoolFailed(SystemError::readReason(errno ? errno : EIO));
        if (piece.isEmpty())
            break;
        buffer.remove(0, at);
        buffer.append(piece);
        at = 0;
        while (buffer.size() - at >= headerSize) {
            qint32 header[3];
            std::memcpy(header, buffer.constData() + at, headerSize);
            if (buffer.size() - at - headerSize < header[2])
                break; // the rest of this cell comes with the next piece
            onCell(header[0], header[1],
                   QByteArrayView(buffer.constData() + at + headerSize, header[2]));
            at += headerSize + header[2];
        }
    }
    if (at != buffer.size())
        spoolFailed(SystemError::readReason(EIO));
}

} // namespace tramix
