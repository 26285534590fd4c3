// What a workbook's main part (xl/workbook.xml) says for all its sheets: from which day its date
// serials count.
#pragma once

#include <QIODevice>

namespace tramix {

struct WorkbookProperties {
    // Serials count from 1904-01-01 (old Excel for the Mac) rather than from 1900.
    bool date1904 = false;

    // False when the XML is broken or has a DTD, which no workbook part may have.
    bool parse(QIODevice& device);
};

} // namespace tramix
