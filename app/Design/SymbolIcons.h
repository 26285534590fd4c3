// Line icons for the symbol names the catalogue uses, drawn as vectors in the colour of the text
// they stand beside, so they read the same in light and dark.
#pragma once

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <QString>

namespace tramix::SymbolIcons {

bool has(const QString& symbol);

// Draws `symbol` fitted into `box`; false (and nothing drawn) for a name without an icon.
bool draw(QPainter& painter, const QString& symbol, const QRectF& box, const QColor& color);

} // namespace tramix::SymbolIcons
