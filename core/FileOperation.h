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

struct FileOperation {
    QString id;
    QString title;
    QString detail;
    std::optional<QString> symbol;
    OperationStyle style = OperationStyle::perFile;
    PerformFunction perform;

    bool operator==(const FileOperation& other) const { return id == other.id; }
};

} // namespace tramix
