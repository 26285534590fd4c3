// The cell styles of a workbook (xl/styles.xml), as far as their number formats show dates and
// times: a cell's `s` attribute is an index into them.
#pragma once

#include "DateFormats.h"

#include <QIODevice>
#include <vector>

namespace tramix {

struct CellStyles {
    // False when the XML is broken or has a DTD, which no workbook part may have.
    bool parse(QIODevice& device);

    // What the cells of style `index` show; a number for a style the workbook does not have.
    DateFormats::Kind kindOf(qint64 index) const;

private:
    std::vector<DateFormats::Kind> kinds_;
};

} // namespace tramix
