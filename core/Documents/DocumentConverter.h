// Documents (and PDFs) into other document formats. Office documents are read and written by
// LibreOffice, all files of one call in one start; Markdown and plain text become HTML by our own
// converters first, and need no office suite when HTML is what is wanted.
#pragma once

#include "DocumentFormat.h"
#include "OutputContext.h"

#include <QStringList>
#include <functional>
#include <optional>

namespace tramix::DocumentConverter {

// One input; throws its ConversionError.
QString convert(const QString& input, const DocumentFormat& format, const OutputContext& context);

// Told once for each input as it ends: what it wrote, or the sentence of why not.
using Outcome = std::function<void(qsizetype index, const QStringList& outputs,
                                   const std::optional<QString>& error)>;

// Several inputs, one failing without stopping the others. Throws only for what stops them all
// (a cancel, LibreOffice missing); inputs not yet told of then share that error.
void convertAll(const QStringList& inputs, const DocumentFormat& format,
                const OutputContext& context, const Outcome& outcome);

} // namespace tramix::DocumentConverter
