#pragma once

#include <QIcon>

namespace tramix {

// The wheel mark, drawn at every size the tray may ask for, so it stays crisp.
QIcon appIcon();

} // namespace tramix
