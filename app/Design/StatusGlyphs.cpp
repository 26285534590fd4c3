#include "StatusGlyphs.h"

#include <QPainterPath>
#include <QtMath>
#include <algorithm>

namespace tramix::StatusGlyphs {

namespace {

QRectF square(const QRectF& box) {
    const qreal side = std::min(box.width(), box.height());
    QRectF result(0, 0, side, side);
    result.moveCenter(box.center());
    return result;
}

QPen roundPen(const QColor& color, qreal width) {
    return QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

} // namespace

void checkmarkCircle(QPainter& painter, const QRectF& box, const QColor& color,
                     const QColor& mark) {
    const QRectF r = square(box);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(r);
    const qreal s = r.width();
    QPainterPath check;
    check.moveTo(r.left() + s * 0.29, r.top() + s * 0.52);
    check.lineTo(r.left() + s * 0.44, r.top() + s * 0.66);
    check.lineTo(r.left() + s * 0.72, r.top() + s * 0.36);
    painter.setPen(roundPen(mark, s * 0.1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(check);
    painter.restore();
}

void warningTriangle(QPainter& painter, const QRectF& box, const QColor& color,
                     const QColor& mark) {
    const QRectF r = square(box);
    const qreal s = r.width();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath triangle;
    triangle.moveTo(r.center().x(), r.top() + s * 0.08);
    triangle.lineTo(r.right() - s * 0.04, r.bottom() - s * 0.1);
    triangle.lineTo(r.left() + s * 0.04, r.bottom() - s * 0.1);
    triangle.closeSubpath();
    painter.setPen(roundPen(color, s * 0.1));
    painter.setBrush(color);
    painter.drawPath(triangle);
    painter.setPen(roundPen(mark, s * 0.1));
    painter.drawLine(QPointF(r.center().x(), r.top() + s * 0.38),
                     QPointF(r.center().x(), r.top() + s * 0.6));
    painter.setPen(Qt::NoPen);
    painter.setBrush(mark);
    painter.drawEllipse(QPointF(r.center().x(), r.top() + s * 0.75), s * 0.055, s * 0.055);
    painter.restore();
}

void exclamationCircle(QPainter& painter, const QRectF& box, const QColor& color) {
    const QRectF r = square(box);
    const qreal s = r.width();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(roundPen(color, s * 0.09));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(r.adjusted(s * 0.06, s * 0.06, -s * 0.06, -s * 0.06));
    painter.drawLine(QPointF(r.center().x(), r.top() + s * 0.28),
                     QPointF(r.center().x(), r.top() + s * 0.56));
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QPointF(r.center().x(), r.top() + s * 0.71), s * 0.06, s * 0.06);
    painter.restore();
}

void gear(QPainter& painter, const QRectF& box, const QColor& color) {
    const QRectF r = square(box);
    const qreal s = r.width();
    const QPointF c = r.center();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath teeth;
    constexpr int count = 8;
    for (int i = 0; i < count * 2; ++i) {
        const qreal radius = (i % 2 == 0) ? s * 0.5 : s * 0.37;
        for (qreal edge : {-0.5, 0.5}) {
            const qreal angle = (i + edge * 0.62) * M_PI / count;
            const QPointF point(c.x() + radius * qCos(angle), c.y() + radius * qSin(angle));
            if (teeth.elementCount() == 0)
                teeth.moveTo(point);
            else
                teeth.lineTo(point);
        }
    }
    teeth.closeSubpath();
    QPainterPath hole;
    hole.addEllipse(c, s * 0.16, s * 0.16);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawPath(teeth.subtracted(hole));
    painter.restore();
}

namespace {

// The faint full circle that the spinner's and the progress ring's arcs run on; returns the
// circle and leaves the painter saved, for the caller to restore.
QRectF ringTrack(QPainter& painter, const QRectF& box, const QColor& color, qreal& width) {
    const QRectF r = square(box);
    width = r.width() * 0.12;
    const QRectF ring = r.adjusted(width / 2, width / 2, -width / 2, -width / 2);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QColor faint = color;
    faint.setAlphaF(0.18);
    painter.setPen(roundPen(faint, width));
    painter.drawEllipse(ring);
    return ring;
}

} // namespace

void spinner(QPainter& painter, const QRectF& box, const QColor& color, double turn) {
    qreal width = 0;
    const QRectF ring = ringTrack(painter, box, color, width);
    painter.setPen(roundPen(color, width));
    painter.drawArc(ring, int((90 - turn * 360) * 16), int(-100 * 16));
    painter.restore();
}

void progressRing(QPainter& painter, const QRectF& box, const QColor& color, double fraction) {
    qreal width = 0;
    const QRectF ring = ringTrack(painter, box, color, width);
    const double clamped = std::clamp(fraction, 0.0, 1.0);
    if (clamped > 0) {
        painter.setPen(roundPen(color, width));
        painter.drawArc(ring, 90 * 16, int(-clamped * 360 * 16));
    }
    painter.restore();
}

} // namespace tramix::StatusGlyphs
