#include "FloatingPanel.h"

#include "Platform/DesktopInput.h"

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

} // namespace tramix
