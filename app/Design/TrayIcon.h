#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QPalette>

class QSystemTrayIcon;

namespace tramix {

// The tray's mark: the wheel as a ring of four segments in one colour, the way panels show their
// status icons, with the chosen segment at full strength. Each panel size is drawn on its own pixel
// grid, at single and double density, so the gaps between the segments stay sharp at 16, 22 and 24
// pixels.
QIcon trayIcon(const QColor& colour);

// One size of it, `pixels` square, in `colour` on transparency.
QImage trayIconImage(int pixels, const QColor& colour);

// The colour of the mark on a panel drawn with `palette`: the panel's text colour.
QColor trayIconColour(const QPalette& palette);

// Gives `tray` the mark in the application palette's text colour, and again whenever that palette
// changes: the desktop switched themes, or the appearance setting did.
void paintTrayIcon(QSystemTrayIcon& tray);

} // namespace tramix
