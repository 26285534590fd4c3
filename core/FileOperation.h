// One entry of the catalogue: its texts, how it takes its inputs, and the work itself.
#pragma once

#include "OperationStyle.h"
#include "OutputContext.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace tramix {

// Blocking and throwing (ConversionError); may run on any worker thread. Takes absolute input
// paths and returns the absolute paths it wrote.
using PerformFunction = std::function<QStringList(const QStringList& inputs, const OutputContext&)>;

// Per-file work whose files share one costly start (an office suite) takes all of a job's files
// in one call and tells each input's outcome as it ends: what it wrote, or the sentence of why
// not. It throws only for what stops every input still untold (a cancel).
using BatchOutcome = std::function<void(qsizetype index, const QStringList& outputs,
                                        const std::optional<QString>& error)>;
using BatchFunction =
    std::function<void(const QStringList& inputs, const OutputContext&, const BatchOutcome&)>;

struct FileOperation {
    QString id;
    QString title;
    QString detail;
    std::optional<QString> symbol;
    OperationStyle style = OperationStyle::perFile;
    PerformFunction perform;
    BatchFunction batch = {}; // none: per-file work runs file by file

    bool operator==(const FileOperation& other) const { return id == other.id; }
};

} // namespace tramix
