// The few status marks of the toast and the menu, drawn as vectors so they stay sharp at any
// scale: a filled check circle, a filled warning triangle, an outlined exclamation circle, a gear,
// the spinner of a running job and its progress ring.
#pragma once

#include <QColor>
#include <QPainter>
#include <QRectF>

namespace tramix::StatusGlyphs {

void checkmarkCircle(QPainter& painter, const QRectF& box, const QColor& color, const QColor& mark);
void warningTriangle(QPainter& painter, const QRectF& box, const QColor& color, const QColor& mark);
void exclamationCircle(QPainter& painter, const QRectF& box, const QColor& color);
void gear(QPainter& painter, const QRectF& box, const QColor& color);
// An arc of the ring turned by `turn` (0 to 1) over a faint full ring.
void spinner(QPainter& painter, const QRectF& box, const QColor& color, double turn);
// A ring filled clockwise from the top by `fraction` (0 to 1).
void progressRing(QPainter& painter, const QRectF& box, const QColor& color, double fraction);

} // namespace tramix::StatusGlyphs
