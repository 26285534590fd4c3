// The files the shelf's rendering shows: two photographs drawn with libvips, an offer as a PDF,
// a text file and a presentation that has gone missing since it was parked.
#pragma once

#include "ShelfView.h"

#include <QList>
#include <QString>

namespace tramix::ShelfSamples {

// Writes the sample files into `folder` (which must exist) and returns the shelf's rows for
// them, pictures made at once; empty when the files cannot be written.
QList<ShelfView::Row> rows(const QString& folder);

} // namespace tramix::ShelfSamples
