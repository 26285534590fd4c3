// A table as rows of cell texts; rows may differ in length, the first row is the header where a
// format needs one.
#pragma once

#include <QList>
#include <QStringList>

namespace tramix {

using TableGrid = QList<QStringList>;

} // namespace tramix
