// A minimal XEmbed system-tray host for tests: takes the tray selection of screen 0, docks
// the first icon that asks, and prints where it sits so a test can click it.
//   stdout: "ready" once the selection is ours, then "docked {x} {y}" (root coordinates of
//   the icon's centre) for each icon.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <cstdio>

namespace {

constexpr long requestDock = 0;
constexpr long embeddedNotify = 0;
constexpr int iconSize = 32;

void sendEmbedded(Display* display, Window icon, Window host) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = icon;
    event.xclient.message_type = XInternAtom(display, "_XEMBED", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = CurrentTime;
    event.xclient.data.l[1] = embeddedNotify;
    event.xclient.data.l[3] = static_cast<long>(host);
    XSendEvent(display, icon, False, NoEventMask, &event);
}

void announce(Display* display, Window root, Atom selection, Window host) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = root;
    event.xclient.message_type = XInternAtom(display, "MANAGER", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = CurrentTime;
    event.xclient.data.l[1] = static_cast<long>(selection);
    event.xclient.data.l[2] = static_cast<long>(host);
    XSendEvent(display, root, False, StructureNotifyMask, &event);
}

void dock(Display* display, Window host, Window icon) {
    XReparentWindow(display, icon, host, 0, 0);
    XResizeWindow(display, icon, iconSize, iconSize);
    XMapRaised(display, icon);
    sendEmbedded(display, icon, host);
    XSync(display, False);
    int x = 0, y = 0;
    Window child;
    XTranslateCoordinates(display, icon, DefaultRootWindow(display), iconSize / 2, iconSize / 2, &x,
                          &y, &child);
    std::printf("docked %d %d\n", x, y);
    std::fflush(stdout);
}

} // namespace

int main() {
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return 2;
    const Window root = DefaultRootWindow(display);
    const Window host = XCreateSimpleWindow(display, root, 100, 100, 4 * iconSize, iconSize, 0, 0,
                                            WhitePixel(display, DefaultScreen(display)));
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    XChangeWindowAttributes(display, host, CWOverrideRedirect, &attributes);
    XMapRaised(display, host);

    const long horizontal = 0;
    XChangeProperty(display, host, XInternAtom(display, "_NET_SYSTEM_TRAY_ORIENTATION", False),
                    XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&horizontal), 1);

    const Atom selection = XInternAtom(display, "_NET_SYSTEM_TRAY_S0", False);
    const Atom opcode = XInternAtom(display, "_NET_SYSTEM_TRAY_OPCODE", False);
    XSetSelectionOwner(display, selection, host, CurrentTime);
    if (XGetSelectionOwner(display, selection) != host)
        return 3;
    announce(display, root, selection, host);
    XSync(display, False);
    std::printf("ready\n");
    std::fflush(stdout);

    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == ClientMessage && event.xclient.message_type == opcode &&
            event.xclient.data.l[1] == requestDock) {
            dock(display, host, static_cast<Window>(event.xclient.data.l[2]));
        }
    }
}
