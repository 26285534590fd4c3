#include "TrayIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <cmath>

namespace tramix {

QImage trayIconImage(int pixels) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);

    // Whole pixels at the tile's edge keep small sizes sharp.
    const qreal inset = pixels >= 32 ? 2 : 1;
    const QRectF tile(inset, inset, pixels - 2 * inset, pixels - 2 * inset);
    QLinearGradient gradient(tile.topLeft(), tile.bottomRight());
    gradient.setColorAt(0, QColor(0x4f, 0x7c, 0xff));
    gradient.setColorAt(1, QColor(0x7a, 0x4d, 0xf0));
    const qreal corner = tile.width() * 0.26;
    painter.setPen(QPen(QColor(20, 20, 60, 110), 1));
    painter.setBrush(gradient);
    painter.drawRoundedRect(tile.adjusted(0.5, 0.5, -0.5, -0.5), corner, corner);

    // Fewer, wider segments than the big icon: six would blur together at 16 pixels.
    const QPointF centre = tile.center();
    const qreal outer = tile.width() * 0.36;
    const qreal inner = tile.width() * (pixels <= 24 ? 0.13 : 0.15);
    const int segments = pixels <= 24 ? 4 : 6;
    const qreal gap = pixels <= 24 ? 22.0 : 12.0;
    const qreal step = 360.0 / segments;
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < segments; ++i) {
        const qreal start = 45 + i * step + gap / 2;
        const qreal sweep = step - gap;
        const QRectF outerBox(centre.x() - outer, centre.y() - outer, 2 * outer, 2 * outer);
        const QRectF innerBox(centre.x() - inner, centre.y() - inner, 2 * inner, 2 * inner);
        QPainterPath segment;
        segment.arcMoveTo(outerBox, start);
        segment.arcTo(outerBox, start, sweep);
        segment.arcTo(innerBox, start + sweep, -sweep);
        segment.closeSubpath();
        painter.setBrush(QColor(255, 255, 255, i == 0 ? 255 : 215));
        painter.drawPath(segment);
    }
    return image;
}

QIcon trayIcon() {
    QIcon icon;
    for (int size : {16, 20, 22, 24, 32, 44, 48, 64, 96, 128})
        icon.addPixmap(QPixmap::fromImage(trayIconImage(size)));
    return icon;
}

} // namespace tramix
