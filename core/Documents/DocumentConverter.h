// Documents (and PDFs) into other document formats.
#pragma once

#include "DocumentFormat.h"
#include "OutputContext.h"

namespace tramix::DocumentConverter {

QString convert(const QString& input, const DocumentFormat& format, const OutputContext& context);

} // namespace tramix::DocumentConverter
