#include "StatusMenuPanel.h"

#include "MenuView.h"
#include "Platform/DesktopInput.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

namespace tramix {

StatusMenuPanel::StatusMenuPanel(MenuView* view)
    : QWidget(nullptr, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint)
    , view_(view) {
    const bool translucent = Desktop::compositorRunning();
    setAttribute(Qt::WA_TranslucentBackground, translucent);
    view_->setAttribute(Qt::WA_TranslucentBackground, translucent);
    setWindowTitle(QStringLiteral("Tramix"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view_);
    connect(view_, &MenuView::contentResized, this, [this] {
        if (isVisible())
            place();
    });
}

QPoint StatusMenuPanel::origin(const QRect& anchor, QSize size, const QRect& available) {
    const double mid = anchor.left() + anchor.width() / 2.0;
    const double x = std::clamp(mid - size.width() / 2.0, double(available.left() + margin),
                                double(available.right() + 1 - margin - size.width()));
    // A tray in the lower half of the screen sits in a bottom panel: open upwards there.
    const bool below = anchor.center().y() < available.center().y();
    const double y = below ? anchor.bottom() + 1 + gap : anchor.top() - gap - size.height();
    return {int(std::lround(x)), int(std::lround(y))};
}

void StatusMenuPanel::showFrom(const QRect& anchor) {
    anchor_ = anchor;
    place();
    show();
    raise();
    activateWindow();
    view_->setFocus();
}

void StatusMenuPanel::place() {
    const QSize size = view_->sizeHint();
    setFixedSize(size);
    if (!testAttribute(Qt::WA_TranslucentBackground)) {
        // Without a compositor the clear corners would show black: cut the window round.
        QPainterPath card;
        card.addRoundedRect(QRectF(QPointF(0, 0), size), 12, 12);
        setMask(QRegion(card.toFillPolygon().toPolygon()));
    }
    QScreen* screen = QGuiApplication::screenAt(anchor_.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect(QPoint(0, 0), size);
    move(origin(anchor_, size, available));
}

void StatusMenuPanel::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void StatusMenuPanel::mousePressEvent(QMouseEvent* event) {
    // A popup gets the presses outside it too; the base class then closes it.
    if (!rect().contains(event->position().toPoint()) && onOutsidePress)
        onOutsidePress(event->globalPosition().toPoint());
    QWidget::mousePressEvent(event);
}

void StatusMenuPanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (onClosed)
        onClosed();
}

} // namespace tramix
