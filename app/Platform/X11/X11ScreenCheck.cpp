#include "Platform/ScreenCheck.h"

#include <QByteArray>

// Xlib last: its macros clash with names in Qt's headers.
#include <X11/Xlib.h>

namespace tramix::ScreenCheck {

namespace {

// The first platform Qt will try: the start of QT_QPA_PLATFORM ("wayland;xcb", "xcb:options").
QByteArray requestedPlatform() {
    QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    const qsizetype end = platform.indexOf(';');
    if (end >= 0)
        platform.truncate(end);
    const qsizetype options = platform.indexOf(':');
    if (options >= 0)
        platform.truncate(options);
    return platform.trimmed();
}

bool canOpen(const QByteArray& display) {
    Display* connection = XOpenDisplay(display.constData());
    if (!connection)
        return false;
    XCloseDisplay(connection);
    return true;
}

} // namespace

std::optional<QString> problem() {
    const QByteArray platform = requestedPlatform();
    if (!platform.isEmpty() && platform != "xcb")
        return std::nullopt;
    if (platform.isEmpty() && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return std::nullopt;
    const QByteArray display = qgetenv("DISPLAY");
    if (display.isEmpty())
        return QStringLiteral("Kein Bildschirm gefunden (DISPLAY ist nicht gesetzt).");
    if (!canOpen(display))
        return QStringLiteral("Der Bildschirm „%1“ aus DISPLAY lässt sich nicht öffnen.")
            .arg(QString::fromLocal8Bit(display));
    return std::nullopt;
}

} // namespace tramix::ScreenCheck
