// Tables between CSV, TSV, XLSX, JSON and HTML.
#pragma once

#include "../OutputContext.h"

#include <QList>

namespace tramix::SpreadsheetConverter {

struct Format {
    QString ext;
    QString title;
};

// The target formats, in the order the catalogue shows them.
const QList<Format>& formats();

QString convert(const QString& input, const QString& ext, const OutputContext& context);

} // namespace tramix::SpreadsheetConverter
