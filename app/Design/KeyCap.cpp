#include "KeyCap.h"

#include <QFontMetricsF>

namespace tramix::KeyCap {

namespace {

constexpr qreal padding = 8;
constexpr qreal radius = 6;
// The cap's lower edge, a shade darker, gives it depth.
constexpr qreal lip = 2;

} // namespace

QFont font() {
    return Theme::font(8.5, QFont::DemiBold);
}

qreal width(const QString& name) {
    return std::max(height, std::ceil(QFontMetricsF(font()).horizontalAdvance(name)) + 2 * padding);
}

void paint(QPainter& painter, const QRectF& box, const QString& name, const Theme& theme) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF cap = box.adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.cardEdge);
    painter.drawRoundedRect(cap, radius, radius);
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.setBrush(theme.card);
    painter.drawRoundedRect(cap.adjusted(0, 0, 0, -lip), radius, radius);
    painter.setFont(font());
    painter.setPen(theme.text);
    painter.drawText(cap.adjusted(0, 0, 0, -lip), Qt::AlignCenter, name);
    painter.restore();
}

} // namespace tramix::KeyCap
