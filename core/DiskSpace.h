// Large results and extractions ask first whether they fit.
#pragma once

#include <QString>
#include <QtGlobal>

namespace tramix::DiskSpace {

// Bytes that this user may still write on the file system of `folder`; -1 when unknown.
qint64 available(const QString& folder);

// Throws ConversionError "Auf dem Datenträger ist nicht genug Platz: {needed} nötig, {free}
// frei." when `bytes`, with a small reserve, do not fit on the file system of `folder`. An unknown
// amount of free space passes.
void require(const QString& folder, qint64 bytes);

// "1,2 GB", "340 MB", "12 KB": decimal units, one decimal below ten.
QString sizeText(qint64 bytes);

} // namespace tramix::DiskSpace
