#pragma once

#include <QIcon>
#include <QImage>

namespace tramix {

// The tray's mark: the wheel on its coloured tile, drawn on the pixel grid at each tray size,
// with an edge that holds it apart from light and dark panels alike.
QIcon trayIcon();

// One size of it, `pixels` square.
QImage trayIconImage(int pixels);

} // namespace tramix
