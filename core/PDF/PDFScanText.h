// The text of scanned pages: each page drawn at scan resolution and read by text recognition.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace tramix::PDFScanText {

// The recognised text of the listed pages (from 0), in the same order, several pages at once.
QStringList recognizePages(const QString& pdf, const QList<int>& pageIndexes);

} // namespace tramix::PDFScanText
