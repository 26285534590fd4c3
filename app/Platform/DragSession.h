// What the running desktop session offers for seeing file drags across the whole screen: the
// kind of display the app runs on, and the X extensions that global drag detection needs.
#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

namespace tramix {

struct DragSession {
    enum class Kind {
        none,     // no display the app can use (off screen, a command line)
        x11,      // an X server of its own
        xwayland, // the X server of a Wayland session: sees only drags of X11 programs
        wayland,  // a Wayland session without X: nothing of other programs' drags is seen
    };

    Kind kind = Kind::none;
    bool xfixes = false;   // who owns the drag selection
    bool xinput21 = false; // buttons and keys during another program's drag

    // Whether global drag detection can work here.
    bool supportsGlobalDrags() const;
    // One line for the debug log, in German like the rest of it.
    QString summary() const;

    bool operator==(const DragSession&) const = default;
};

namespace Desktop {

// Asks the session as it is now; each call asks again. The X server is asked over a connection
// of its own, opened on first use and kept while the function lives.
std::function<DragSession()> dragSessionSource();

// The X server named by `display` (in the form of $DISPLAY), asked directly: `x11` or `xwayland`
// with the extensions found, `none` when it cannot be opened.
DragSession probeX11(const QByteArray& display);

} // namespace Desktop

} // namespace tramix
