// A modifier key drawn as the cap it is on the keyboard, with its name on it.
#pragma once

#include "Theme.h"

#include <QPainter>
#include <QRectF>
#include <QString>

namespace tramix::KeyCap {

QFont font();
// The width of the cap for `name`, padding included.
qreal width(const QString& name);
constexpr qreal height = 24;

// Draws the cap for `name` into `box` (its height is the cap's).
void paint(QPainter& painter, const QRectF& box, const QString& name, const Theme& theme);

} // namespace tramix::KeyCap
