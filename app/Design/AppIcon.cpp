#include "AppIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <cmath>

namespace tramix {

namespace {

// Below this many pixels six slanted gaps would blur into the segments.
constexpr int smallestSixSegments = 40;

// Four segments split by a cross two pixels wide, on whole pixels of an even size, so the gaps stay
// sharp at 16 to 32 pixels; the top right one is brighter, as the first segment is in the big mark.
void drawSmallWheel(QPainter& painter, int size) {
    const qreal centre = size / 2.0;
    const qreal outer = size * 0.37;
    const qreal inner = size * 0.15;
    constexpr qreal gap = 2;
    QPainterPath ring;
    ring.addEllipse(QPointF(centre, centre), outer, outer);
    ring.addEllipse(QPointF(centre, centre), inner, inner);
    QPainterPath cross;
    cross.addRect(QRectF(centre - gap / 2, 0, gap, size));
    cross.addRect(QRectF(0, centre - gap / 2, size, gap));
    const QPainterPath segments = ring.subtracted(cross);
    painter.setOpacity(0.78);
    painter.drawPath(segments);
    QPainterPath first;
    first.addRect(QRectF(centre, 0, centre, centre));
    painter.setOpacity(1.0);
    painter.drawPath(segments.intersected(first));
}

QPixmap drawMark(int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);

    const QRectF bounds(0, 0, size, size);
    QLinearGradient gradient(bounds.topLeft(), bounds.bottomRight());
    gradient.setColorAt(0, QColor(0x4f, 0x7c, 0xff));
    gradient.setColorAt(1, QColor(0x8a, 0x4d, 0xff));
    const qreal corner = size * 0.22;
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    // A small tile fills its pixels to the edge, where half a pixel would look blurred.
    const bool small = size <= smallestSixSegments;
    painter.drawRoundedRect(small ? bounds : bounds.adjusted(0.5, 0.5, -0.5, -0.5), corner, corner);

    const QPointF centre = bounds.center();
    painter.setBrush(Qt::white);
    if (small) {
        drawSmallWheel(painter, size);
        return pixmap;
    }
    // Six segments around an open centre, like the wheel the drag opens.
    const qreal outer = size * 0.36;
    const qreal inner = size * 0.15;
    const qreal gap = 9.0;
    for (int i = 0; i < 6; ++i) {
        const qreal start = i * 60.0 + gap / 2;
        const qreal sweep = 60.0 - gap;
        QPainterPath segment;
        segment.arcMoveTo(QRectF(centre.x() - outer, centre.y() - outer, 2 * outer, 2 * outer),
                          start);
        segment.arcTo(QRectF(centre.x() - outer, centre.y() - outer, 2 * outer, 2 * outer), start,
                      sweep);
        segment.arcTo(QRectF(centre.x() - inner, centre.y() - inner, 2 * inner, 2 * inner),
                      start + sweep, -sweep);
        segment.closeSubpath();
        painter.setOpacity(i == 0 ? 1.0 : 0.78);
        painter.drawPath(segment);
    }
    return pixmap;
}

} // namespace

QImage appIconImage(int pixels) {
    return drawMark(pixels).toImage();
}

QIcon appIcon() {
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
        icon.addPixmap(drawMark(size));
    return icon;
}

} // namespace tramix
