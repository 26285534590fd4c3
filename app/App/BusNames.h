// Where the running tray app answers on the session bus; `tramix --wheel` and the file
// managers' menus call it there.
#pragma once

#include <QString>

namespace tramix::BusNames {

inline QString service() {
    return QStringLiteral("org.tramix.Tramix");
}
inline QString path() {
    return QStringLiteral("/org/tramix/Tramix");
}
inline QString interface() {
    return QStringLiteral("org.tramix.Tramix");
}

} // namespace tramix::BusNames
