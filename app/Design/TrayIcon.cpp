#include "TrayIcon.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <algorithm>

namespace tramix {

namespace {

// In device pixels: the panel sizes 16, 22 and 24, the same at double density for scaled screens
// (32, 44, 48), and larger ones for docks and menus.
constexpr int pixelSizes[] = {16, 22, 24, 32, 44, 48, 64, 96, 128};

// The other segments, lighter than the chosen one but still clear against the panel.
constexpr qreal restingOpacity = 0.6;

// A sixteenth of the size, never under one pixel, keeps the ring off the panel's edge.
int marginFor(int pixels) {
    return std::max(1, pixels / 16);
}

// Two pixels at 16 to 24 and growing with the size: wide enough to read as a gap, and even, so
// the cross lies on pixel edges around the centre of an even size.
int gapFor(int pixels) {
    return std::max(2, (pixels / 12) & ~1);
}

void paint(QSystemTrayIcon& tray) {
    tray.setIcon(trayIcon(trayIconColour(QApplication::palette())));
}

// Lives as the tray's child, so it goes with the tray.
class PaletteFollower : public QObject {
public:
    explicit PaletteFollower(QSystemTrayIcon& tray)
        : QObject(&tray)
        , tray_(tray) {}

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == QCoreApplication::instance() &&
            event->type() == QEvent::ApplicationPaletteChange)
            paint(tray_);
        return false;
    }

private:
    QSystemTrayIcon& tray_;
};

} // namespace

QImage trayIconImage(int pixels, const QColor& colour) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);

    const qreal centre = pixels / 2.0;
    const qreal outer = centre - marginFor(pixels);
    const qreal inner = outer * 0.42;
    QPainterPath ring;
    ring.addEllipse(QPointF(centre, centre), outer, outer);
    ring.addEllipse(QPointF(centre, centre), inner, inner);

    // The gaps run straight along the pixel rows and columns: slanted ones would blur at 16 pixels.
    const qreal gap = gapFor(pixels);
    QPainterPath cross;
    cross.addRect(QRectF(centre - gap / 2, 0, gap, pixels));
    cross.addRect(QRectF(0, centre - gap / 2, pixels, gap));
    const QPainterPath segments = ring.subtracted(cross);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.setOpacity(restingOpacity);
    painter.drawPath(segments);
    // The top right segment is the chosen one, as in the app's mark.
    QPainterPath chosen;
    chosen.addRect(QRectF(centre, 0, centre, centre));
    painter.setOpacity(1.0);
    painter.drawPath(segments.intersected(chosen));
    return image;
}

QIcon trayIcon(const QColor& colour) {
    QIcon icon;
    // Qt picks the pixmap by device pixels, so 32 serves both 16 at double density and 32.
    for (int pixels : pixelSizes)
        icon.addPixmap(QPixmap::fromImage(trayIconImage(pixels, colour)));
    return icon;
}

QColor trayIconColour(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::WindowText);
}

void paintTrayIcon(QSystemTrayIcon& tray) {
    paint(tray);
    QCoreApplication::instance()->installEventFilter(new PaletteFollower(tray));
}

} // namespace tramix
