#include "FloatingPanel.h"

#include "Platform/DesktopInput.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>

namespace tramix {

namespace {

Qt::WindowFlags flagsFor(FloatingPanel::Lifetime lifetime) {
    const Qt::WindowFlags shared =
        Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint;
    if (lifetime == FloatingPanel::Lifetime::lasting)
        return shared;
    return shared | Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint;
}

} // namespace

FloatingPanel::FloatingPanel(QSize size, QWidget* parent, Lifetime lifetime)
    : QWidget(parent, flagsFor(lifetime))
    , translucent_(Desktop::compositorRunning()) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground, translucent_);
    if (lifetime == Lifetime::lasting) {
        setAttribute(Qt::WA_X11NetWmWindowTypeUtility);
        setFocusPolicy(Qt::ClickFocus);
    } else {
        setAttribute(Qt::WA_X11NetWmWindowTypePopupMenu);
        setFocusPolicy(Qt::NoFocus);
    }
    setFixedSize(size);
}

void FloatingPanel::setShape(const QRegion& region) {
    if (!translucent_)
        setMask(region);
}

void FloatingPanel::showAt(QPoint origin) {
    move(origin);
    show();
    raise();
}

std::optional<QRect> FloatingPanel::availableAt(QPoint point) {
    QScreen* screen = QGuiApplication::screenAt(point);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return std::nullopt;
    return screen->availableGeometry();
}

QPoint FloatingPanel::originCentredOn(QPoint near, QSize size,
                                      const std::optional<QRect>& available) {
    QPoint origin = near - QPoint(size.width() / 2, size.height() / 2);
    if (!available)
        return origin;
    origin.setX(std::clamp(origin.x(), available->left(),
                           std::max(available->left(), available->right() + 1 - size.width())));
    origin.setY(std::clamp(origin.y(), available->top(),
                           std::max(available->top(), available->bottom() + 1 - size.height())));
    return origin;
}

} // namespace tramix
