// The desktop services on X11. A Wayland backend would add its own source beside this one.
#include "Platform/DesktopInput.h"
#include "X11DesktopInput.h"

#include <QGuiApplication>
#include <QString>
#include <X11/Xlib.h>

namespace tramix::Desktop {

std::unique_ptr<DesktopInput> createInput() {
    if (QGuiApplication::platformName() != u"xcb")
        return nullptr;
    return std::make_unique<X11DesktopInput>();
}

bool compositorRunning() {
    if (QGuiApplication::platformName() != u"xcb")
        return false;
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return false;
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(DefaultScreen(display));
    const Atom atom = XInternAtom(display, name.constData(), False);
    const bool running = XGetSelectionOwner(display, atom) != None;
    XCloseDisplay(display);
    return running;
}

} // namespace tramix::Desktop
