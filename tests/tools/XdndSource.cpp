// A bare X11 drag source that hands over its files the way a busy or half-ready application may,
// for the tests of asking again. Once the pointer moves with the button down on its window it
// takes hold of the drag data (the XdndSelection), as every XDND source does, and answers the
// requests for text/uri-list as --first says:
//   drop   the first request is never answered
//   empty  the first is answered with a list without files
//   late   the first is answered only when the next one arrives, and that one not at all
//   owner  the first is not answered; the source takes hold of the drag data anew, with a later
//          timestamp, and from then on answers only requests stamped with that time
//   never  nothing is answered while the button is down, everything once it is up
// It speaks only the source's selection side of XDND; no drop target is looked for.
//   XdndSource --first MODE files…
// Prints "ready X Y", "pressed", "dragging", "request N TIME" (N counts from 1), "owner TIME",
// "answered N" ("answered N empty" for a list without files) and "released", one line each, so a
// test can wait for every step.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Request {
    XSelectionRequestEvent event;
    int number;
};

std::string uriList(int argc, char** argv, int from) {
    std::string list;
    for (int i = from; i < argc; ++i) {
        list += "file://";
        for (const char* c = argv[i]; *c; ++c) {
            const unsigned char ch = static_cast<unsigned char>(*c);
            if (std::isalnum(ch) || std::string_view("/-._~").find(char(ch)) != std::string::npos)
                list += char(ch);
            else
                list +=
                    std::string(1, '%') + "0123456789ABCDEF"[ch >> 4] + "0123456789ABCDEF"[ch & 15];
        }
        list += "\r\n";
    }
    return list;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4 || std::string(argv[1]) != "--first") {
        std::fprintf(stderr, "usage: XdndSource --first drop|empty|late|owner|never files…\n");
        return 2;
    }
    const std::string mode = argv[2];
    const std::string files = uriList(argc, argv, 3);
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return 1;
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const Window root = DefaultRootWindow(display);
    const Window window = XCreateSimpleWindow(display, root, 40, 40, 160, 160, 0, 0, 0xffffff);
    XSelectInput(display, window,
                 ExposureMask | ButtonPressMask | ButtonReleaseMask | Button1MotionMask |
                     PropertyChangeMask);
    XMapWindow(display, window);
    const Atom selection = XInternAtom(display, "XdndSelection", False);
    const Atom uriListType = XInternAtom(display, "text/uri-list", False);
    const Atom stamp = XInternAtom(display, "XDND_SOURCE_STAMP", False);

    bool announced = false, buttonDown = false, dragging = false, awaitingStamp = false;
    int pressX = 0, pressY = 0, requests = 0;
    Time ownedAt = CurrentTime, renewedAt = CurrentTime;
    std::vector<Request> held;

    const auto answer = [&](const Request& request, const std::string& data) {
        const XSelectionRequestEvent& r = request.event;
        XSelectionEvent notify{};
        notify.type = SelectionNotify;
        notify.requestor = r.requestor;
        notify.selection = r.selection;
        notify.target = r.target;
        notify.time = r.time;
        notify.property = r.property != None ? r.property : r.target;
        XChangeProperty(display, r.requestor, notify.property, uriListType, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(data.data()), int(data.size()));
        XSendEvent(display, r.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&notify));
        XFlush(display);
        std::printf("answered %d%s\n", request.number, data.empty() ? " empty" : "");
    };
    const auto refuse = [&](const XSelectionRequestEvent& r) {
        XSelectionEvent notify{};
        notify.type = SelectionNotify;
        notify.requestor = r.requestor;
        notify.selection = r.selection;
        notify.target = r.target;
        notify.time = r.time;
        notify.property = None;
        XSendEvent(display, r.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&notify));
        XFlush(display);
    };

    while (true) {
        XEvent event;
        XNextEvent(display, &event);
        switch (event.type) {
        case Expose:
            if (!announced) {
                announced = true;
                int x = 0, y = 0;
                Window child = 0;
                XTranslateCoordinates(display, window, root, 80, 80, &x, &y, &child);
                std::printf("ready %d %d\n", x, y);
            }
            break;
        case ButtonPress:
            if (event.xbutton.button == Button1) {
                buttonDown = true;
                pressX = event.xbutton.x_root;
                pressY = event.xbutton.y_root;
                std::printf("pressed\n");
            }
            break;
        case MotionNotify:
            if (buttonDown && !dragging &&
                std::abs(event.xmotion.x_root - pressX) + std::abs(event.xmotion.y_root - pressY) >=
                    4) {
                dragging = true;
                ownedAt = event.xmotion.time;
                XSetSelectionOwner(display, selection, window, ownedAt);
                XFlush(display);
                std::printf("dragging\n");
            }
            break;
        case ButtonRelease:
            if (event.xbutton.button == Button1 && buttonDown) {
                buttonDown = dragging = false;
                std::printf("released\n");
                for (const Request& request : held)
                    answer(request, files);
                held.clear();
            }
            break;
        case PropertyNotify:
            // The server's time now, to take hold of the drag data anew with.
            if (awaitingStamp && event.xproperty.atom == stamp) {
                if (event.xproperty.time <= ownedAt) { // within the same millisecond: again
                    XChangeProperty(display, window, stamp, XA_STRING, 8, PropModeAppend, nullptr,
                                    0);
                    XFlush(display);
                    break;
                }
                awaitingStamp = false;
                renewedAt = event.xproperty.time;
                XSetSelectionOwner(display, selection, window, renewedAt);
                XFlush(display);
                std::printf("owner %lu\n", renewedAt);
            }
            break;
        case SelectionRequest: {
            const XSelectionRequestEvent& r = event.xselectionrequest;
            if (r.selection != selection || r.target != uriListType) {
                refuse(r);
                break;
            }
            const Request request{r, ++requests};
            std::printf("request %d %lu\n", request.number, r.time);
            if (!buttonDown) {
                answer(request, files);
            } else if (mode == "never") {
                held.push_back(request);
            } else if (request.number == 1) {
                if (mode == "empty") {
                    answer(request, {});
                } else if (mode == "late") {
                    held.push_back(request);
                } else if (mode == "owner") {
                    awaitingStamp = true;
                    XChangeProperty(display, window, stamp, XA_STRING, 8, PropModeAppend, nullptr,
                                    0);
                    XFlush(display);
                }
            } else if (mode == "late") {
                for (const Request& first : held)
                    answer(first, files);
                held.clear();
            } else if (mode == "owner" && (renewedAt == CurrentTime || r.time != renewedAt)) {
                refuse(r);
            } else {
                answer(request, files);
            }
            break;
        }
        default:
            break;
        }
    }
}
