// The session check on X11 and beside it: which display Qt runs on, and what its X server has.
#include "Platform/DragSession.h"

#include <QGuiApplication>
#include <memory>

// Xlib last: its macros clash with names in Qt's headers.
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/Xfixes.h>

namespace tramix::Desktop {

namespace {

using Connection = std::shared_ptr<::Display>;

Connection open(const QByteArray& display) {
    ::Display* connection = XOpenDisplay(display.isEmpty() ? nullptr : display.constData());
    if (!connection)
        return nullptr;
    return Connection(connection, [](::Display* d) { XCloseDisplay(d); });
}

DragSession ask(::Display* connection) {
    DragSession session;
    int opcode = 0, event = 0, error = 0;
    // XWayland announces itself with an extension of its own.
    session.kind = XQueryExtension(connection, "XWAYLAND", &opcode, &event, &error)
                       ? DragSession::Kind::xwayland
                       : DragSession::Kind::x11;
    session.xfixes = XFixesQueryExtension(connection, &event, &error);
    if (XQueryExtension(connection, "XInputExtension", &opcode, &event, &error)) {
        // Raw events reach a client during another client's grab only from XI 2.1 on.
        int major = 2, minor = 1;
        session.xinput21 = XIQueryVersion(connection, &major, &minor) == Success &&
                           (major > 2 || (major == 2 && minor >= 1));
    }
    return session;
}

bool waylandSession() {
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           qgetenv("XDG_SESSION_TYPE") == "wayland";
}

} // namespace

DragSession probeX11(const QByteArray& display) {
    const Connection connection = open(display);
    return connection ? ask(connection.get()) : DragSession{};
}

std::function<DragSession()> dragSessionSource() {
    return [connection = Connection()]() mutable {
        const QString platform = QGuiApplication::platformName();
        if (platform != u"xcb") {
            DragSession session;
            if (platform.startsWith(u"wayland"))
                session.kind = DragSession::Kind::wayland;
            return session;
        }
        if (!connection)
            connection = open(qgetenv("DISPLAY"));
        if (!connection)
            return DragSession{};
        DragSession session = ask(connection.get());
        // Older XWayland servers lack their extension; the session still says what it is.
        if (session.kind == DragSession::Kind::x11 && waylandSession())
            session.kind = DragSession::Kind::xwayland;
        return session;
    };
}

} // namespace tramix::Desktop
