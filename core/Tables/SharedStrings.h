// The shared-string table of a workbook: one text per `si` element, in file order, the runs of a
// rich-text string joined into one text.
#pragma once

#include <QIODevice>
#include <QStringList>

namespace tramix {

struct SharedStrings {
    QStringList strings;
    QString current;
    bool inText = false;

    // False when the XML is broken or has a DTD, which no workbook part may have.
    bool parse(QIODevice& device);
};

} // namespace tramix
