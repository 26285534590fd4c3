// Whether the tray app can reach a screen, asked before Qt starts: without one, Qt's platform
// plugin aborts the process with a core dump.
#pragma once

#include <QString>
#include <optional>

namespace tramix::ScreenCheck {

// Why no screen can be used, as a German sentence; none when one can, or when Qt will pick a
// platform other than X11 (a Wayland session, offscreen) and check for itself.
std::optional<QString> problem();

} // namespace tramix::ScreenCheck
