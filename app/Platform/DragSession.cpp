#include "DragSession.h"

#include <QStringList>

namespace tramix {

bool DragSession::supportsGlobalDrags() const {
    return (kind == Kind::x11 || kind == Kind::xwayland) && xfixes && xinput21;
}

QString DragSession::summary() const {
    const auto extensions = [this] {
        QStringList missing;
        if (!xfixes)
            missing.append(QStringLiteral("XFixes"));
        if (!xinput21)
            missing.append(QStringLiteral("XInput 2.1"));
        return missing.isEmpty()
                   ? QStringLiteral("XFixes und XInput 2.1 vorhanden")
                   : QStringLiteral("es fehlt %1").arg(missing.join(QStringLiteral(" und ")));
    };
    switch (kind) {
    case Kind::none:
        return QStringLiteral("Sitzung: kein Bildschirm");
    case Kind::x11:
        return QStringLiteral("Sitzung: X11, %1").arg(extensions());
    case Kind::xwayland:
        return QStringLiteral("Sitzung: XWayland, %1; Drags aus Wayland-Programmen bleiben "
                              "unsichtbar")
            .arg(extensions());
    case Kind::wayland:
        return QStringLiteral("Sitzung: Wayland ohne X11");
    }
    return {};
}

} // namespace tramix
