#pragma once

#include <QIcon>
#include <QImage>

namespace tramix {

// The wheel mark, drawn at every size the tray may ask for, so it stays crisp.
QIcon appIcon();

// The mark alone, `pixels` square.
QImage appIconImage(int pixels);

} // namespace tramix
