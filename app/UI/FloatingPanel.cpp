#include "FloatingPanel.h"

#include "Platform/DesktopInput.h"

namespace tramix {

FloatingPanel::FloatingPanel(QSize size, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint |
                          Qt::NoDropShadowWindowHint)
    , translucent_(Desktop::compositorRunning()) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground, translucent_);
    setAttribute(Qt::WA_X11NetWmWindowTypePopupMenu);
    setFocusPolicy(Qt::NoFocus);
    setFixedSize(size);
}

void FloatingPanel::setShape(const QRegion& region) {
    if (!translucent_)
        setMask(region);
}

void FloatingPanel::orderFront(QPoint origin) {
    move(origin);
    show();
    raise();
}

void FloatingPanel::orderOut() {
    hide();
}

} // namespace tramix
