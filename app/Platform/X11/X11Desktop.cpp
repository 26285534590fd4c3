// The desktop services on X11. A Wayland backend would add its own source beside this one.
#include "Platform/DesktopInput.h"
#include "X11DesktopInput.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QString>

// Xlib last: its macros clash with names in Qt's headers.
#include <X11/Xlib.h>
#include <xcb/xcb.h>

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

namespace {

// Rewrites the action a source proposes in each position message to our window before Qt reads
// it: Qt answers with an action the source proposed, and the answer is what the source acts on.
class CopyAnswer : public QAbstractNativeEventFilter {
public:
    CopyAnswer(xcb_window_t window, xcb_atom_t position, xcb_atom_t copy)
        : window_(window)
        , position_(position)
        , copy_(copy) {}

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr*) override {
        if (type != "xcb_generic_event_t")
            return false;
        auto* event = static_cast<xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            return false;
        auto* client = reinterpret_cast<xcb_client_message_event_t*>(event);
        if (client->window == window_ && client->type == position_ && client->format == 32)
            client->data.data32[4] = copy_;
        return false;
    }

private:
    xcb_window_t window_;
    xcb_atom_t position_;
    xcb_atom_t copy_;
};

} // namespace

std::shared_ptr<void> answerDropsWithCopy(unsigned long long window) {
    if (QGuiApplication::platformName() != u"xcb" || !QCoreApplication::instance())
        return nullptr;
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return nullptr;
    // Atoms belong to the server, so ours match the ones on Qt's own connection.
    const auto position = xcb_atom_t(XInternAtom(display, "XdndPosition", False));
    const auto copy = xcb_atom_t(XInternAtom(display, "XdndActionCopy", False));
    XCloseDisplay(display);
    auto* filter = new CopyAnswer(xcb_window_t(window), position, copy);
    QCoreApplication::instance()->installNativeEventFilter(filter);
    return std::shared_ptr<void>(filter, [](void* raw) {
        auto* installed = static_cast<CopyAnswer*>(raw);
        if (QCoreApplication::instance())
            QCoreApplication::instance()->removeNativeEventFilter(installed);
        delete installed;
    });
}

} // namespace tramix::Desktop
