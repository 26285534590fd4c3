// Worksheet cells parked in a file in the order they were read, so a large sheet can be handed
// on row by row after one reading of its XML, without holding it in memory.
#pragma once

#include "BufferedOutput.h"

#include <QFile>
#include <functional>
#include <optional>

namespace tramix {

class CellSpool {
public:
    using CellHandler = std::function<void(int row, int column, QByteArrayView utf8)>;

    // Throws ConversionError when the file cannot be made.
    explicit CellSpool(const QString& path);

    // Throws ConversionError "Die Tabelle konnte nicht zwischengespeichert werden: {reason}"
    // when the disk refuses the cell.
    void add(int row, int column, const QString& text);
    // Hands every cell back in the order it was added; call once, after the last `add`.
    void replay(const CellHandler& onCell);
    // The bytes the spool holds.
    qint64 size() const { return out_->size(); }

private:
    QFile file_;
    std::optional<BufferedOutput> out_;
};

} // namespace tramix
