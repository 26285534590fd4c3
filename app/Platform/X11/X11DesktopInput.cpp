#include "X11DesktopInput.h"

#include "InputAlias.h"
#include "Platform/DragDataRetry.h"
#include "Settings/ModifierKey.h"

#include <QSocketNotifier>
#include <QTimer>
#include <QUrl>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/Xfixes.h>
#include <array>
#include <chrono>
#include <deque>
#include <iterator>
#include <utility>

namespace tramix {

namespace {

std::uint32_t modifierFlags(unsigned int mask) {
    std::uint32_t flags = 0;
    if (mask & ShiftMask)
        flags |= ModifierKey(ModifierKey::shift).flag();
    if (mask & ControlMask)
        flags |= ModifierKey(ModifierKey::control).flag();
    if (mask & Mod1Mask)
        flags |= ModifierKey(ModifierKey::option).flag();
    if (mask & Mod4Mask)
        flags |= ModifierKey(ModifierKey::command).flag();
    return flags; // Lock (caps lock) and Mod2 (num lock) are left out on purpose
}

QStringList localFiles(const QByteArray& uriList) {
    QStringList paths;
    for (const QByteArray& raw : uriList.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (const QString path = InputAlias::forFileUri(line); !path.isEmpty())
            paths.append(path);
    }
    return paths;
}

} // namespace

// Our own Xlib connection, read through a socket notifier on Qt's event loop. Xlib may read
// events into its queue while it waits for a reply, so the queue is drained after every round
// trip, not only when the socket becomes readable.
struct X11DesktopInput::Connection {
    Display* display = nullptr;
    Window root = 0;
    Window requestor = 0;
    int fixesEventBase = 0;
    int xiOpcode = 0;
    Atom xdndSelection = 0;
    Atom uriList = 0;
    Atom property = 0;
    Atom incr = 0;
    std::unique_ptr<QSocketNotifier> notifier;
    bool watchingKeys = false;

    std::uint64_t changeCount = 0;
    Time selectionTime = CurrentTime;
    std::uint64_t requestedFor = 0; // change count the last conversion belongs to (0: none)
    std::uint64_t answerFor = 0;    // change count the kept answer belongs to
    QStringList answer;
    // A Qt source hands over its data only for a request stamped with the time it last sent a
    // drag position: the selection's own time if that came at once, none while it has no target,
    // else the time of the pointer motion it answered. So each request of a drag takes the next
    // of these stamps, starting with the selection's.
    DragDataRetry retry; // for the drag data of `changeCount`
    Time lastMotionTime = CurrentTime;

    struct Pending {
        Event event;
        std::uint64_t count = 0; // the drag change count when the event happened
        std::uint32_t flags = 0;
        Time time = 0;
        bool press = false; // a key change made of presses only
        std::chrono::steady_clock::time_point queued = std::chrono::steady_clock::now();
    };
    // Keys pressed together may reach us in separate reads; a key change waits this long for a
    // partner before it is handed on.
    static constexpr auto keySettle = std::chrono::milliseconds(3);
    QTimer settleTimer;
    std::deque<Pending> pending;
    std::array<std::uint32_t, 256> keyFlag{}; // the modifier bit of each keycode, if any
    std::array<bool, 256> keyDown{};
    std::uint32_t keyFlags = 0;
    bool dispatching = false;
    std::function<void(Event, std::uint32_t, std::uint64_t)>* onEvent = nullptr;

    ~Connection() {
        notifier.reset();
        if (display) {
            if (requestor)
                XDestroyWindow(display, requestor);
            XCloseDisplay(display);
        }
    }

    bool open() {
        settleTimer.setSingleShot(true);
        settleTimer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&settleTimer, &QTimer::timeout, [this] { drain(); });
        display = XOpenDisplay(nullptr);
        if (!display)
            return false;
        int fixesErrorBase = 0, event = 0, error = 0;
        if (!XFixesQueryExtension(display, &fixesEventBase, &fixesErrorBase))
            return false;
        if (!XQueryExtension(display, "XInputExtension", &xiOpcode, &event, &error))
            return false;
        // Raw events reach us during another client's grab only from XI 2.1 on.
        int major = 2, minor = 2;
        if (XIQueryVersion(display, &major, &minor) != Success || (major == 2 && minor < 1))
            return false;
        root = DefaultRootWindow(display);
        requestor = XCreateSimpleWindow(display, root, -10, -10, 1, 1, 0, 0, 0);
        xdndSelection = XInternAtom(display, "XdndSelection", False);
        uriList = XInternAtom(display, "text/uri-list", False);
        property = XInternAtom(display, "TRAMIX_DRAG_FILES", False);
        incr = XInternAtom(display, "INCR", False);
        readModifierKeys();
        XFixesSelectSelectionInput(display, root, xdndSelection, XFixesSetSelectionOwnerNotifyMask);
        selectRawEvents();
        return true;
    }

    void readModifierKeys() {
        XModifierKeymap* map = XGetModifierMapping(display);
        if (!map)
            return;
        const std::pair<int, ModifierKey> bound[] = {{ShiftMapIndex, ModifierKey::shift},
                                                     {ControlMapIndex, ModifierKey::control},
                                                     {Mod1MapIndex, ModifierKey::option},
                                                     {Mod4MapIndex, ModifierKey::command}};
        for (const auto& [index, key] : bound) {
            for (int i = 0; i < map->max_keypermod; ++i) {
                const KeyCode code = map->modifiermap[index * map->max_keypermod + i];
                if (code != 0)
                    keyFlag[code] = key.flag();
            }
        }
        XFreeModifiermap(map);
    }

    // The key state starts from the server's and then follows the raw events one by one.
    void resetKeys(unsigned int mask) {
        keyDown.fill(false);
        keyFlags = modifierFlags(mask);
    }

    void keyEvent(int code, bool down, Time time) {
        if (code < 0 || code >= int(keyFlag.size()) || keyFlag[code] == 0)
            return;
        keyDown[code] = down;
        const std::uint32_t bit = keyFlag[code];
        if (down) {
            keyFlags |= bit;
        } else {
            bool stillDown = false; // the other Shift, say
            for (std::size_t other = 0; other < keyFlag.size(); ++other)
                stillDown = stillDown || (keyFlag[other] == bit && keyDown[other]);
            if (!stillDown)
                keyFlags &= ~bit;
        }
        // Presses at the same moment count as one change, as they would in one poll; a press
        // right after a release is a new change however close.
        if (down && !pending.empty() && pending.back().event == Event::keyChanged &&
            pending.back().press && time - pending.back().time <= 2) {
            pending.back().flags = keyFlags;
            return;
        }
        pending.push_back({Event::keyChanged, changeCount, keyFlags, time, down});
    }

    void selectRawEvents() {
        unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
        XISetMask(bits, XI_RawButtonPress);
        XISetMask(bits, XI_RawButtonRelease);
        if (watchingKeys) {
            XISetMask(bits, XI_RawKeyPress);
            XISetMask(bits, XI_RawKeyRelease);
            XISetMask(bits, XI_RawMotion);
        }
        XIEventMask mask{XIAllMasterDevices, int(sizeof bits), bits};
        XISelectEvents(display, root, &mask, 1);
        XFlush(display);
    }

    void drain() {
        while (XPending(display)) {
            XEvent event;
            XNextEvent(display, &event);
            handle(event);
        }
        if (dispatching)
            return;
        dispatching = true;
        while (!pending.empty()) {
            const auto age = std::chrono::steady_clock::now() - pending.front().queued;
            if (pending.front().event == Event::keyChanged && age < keySettle) {
                settleTimer.start(
                    int(std::chrono::ceil<std::chrono::milliseconds>(keySettle - age).count()));
                break;
            }
            const Pending next = pending.front();
            pending.pop_front();
            if (onEvent && *onEvent)
                (*onEvent)(next.event, next.flags, next.count);
        }
        dispatching = false;
    }

    void handle(XEvent& event) {
        if (event.type == fixesEventBase + XFixesSelectionNotify) {
            const auto& notify = reinterpret_cast<XFixesSelectionNotifyEvent&>(event);
            if (notify.selection == xdndSelection && notify.owner != None) {
                ++changeCount;
                selectionTime = notify.selection_timestamp;
                retry.restart();
                pending.push_back({Event::dragDataChanged, changeCount});
            }
        } else if (event.type == GenericEvent && event.xcookie.extension == xiOpcode) {
            handleRaw(event.xcookie);
        } else if (event.type == SelectionNotify && event.xselection.requestor == requestor) {
            handleAnswer(event.xselection);
        }
    }

    void handleRaw(XGenericEventCookie& cookie) {
        if (!XGetEventData(display, &cookie))
            return;
        const auto* raw = static_cast<const XIRawEvent*>(cookie.data);
        switch (cookie.evtype) {
        case XI_RawButtonPress:
            if (raw->detail == 1)
                pending.push_back({Event::leftButtonDown, changeCount});
            break;
        case XI_RawButtonRelease:
            if (raw->detail == 1)
                pending.push_back({Event::leftButtonUp, changeCount});
            break;
        case XI_RawMotion:
            lastMotionTime = raw->time;
            break;
        case XI_RawKeyPress:
        case XI_RawKeyRelease:
            keyEvent(raw->detail, cookie.evtype == XI_RawKeyPress, raw->time);
            break;
        }
        XFreeEventData(display, &cookie);
    }

    // Answers may come late, after the request was made again; any answer of the current drag
    // counts, and one with files ends the asking.
    void handleAnswer(const XSelectionEvent& event) {
        if (requestedFor != changeCount || retry.done())
            return; // a newer drag began meanwhile, or its files are in already
        const auto now = std::chrono::steady_clock::now();
        if (event.property == None) {
            retry.answered(now, false);
            return;
        }
        const QStringList files = localFiles(readProperty(event.property));
        retry.answered(now, !files.isEmpty());
        answerFor = changeCount;
        answer = files;
        pending.push_back({Event::dragDataChanged, changeCount});
    }

    QByteArray readProperty(Atom name) {
        Atom type = None;
        int format = 0;
        unsigned long items = 0, remaining = 0;
        unsigned char* data = nullptr;
        QByteArray bytes;
        if (XGetWindowProperty(display, requestor, name, 0, 1 << 20, True, AnyPropertyType, &type,
                               &format, &items, &remaining, &data) == Success &&
            data) {
            // Incremental transfers are for huge payloads; a list of dragged files never is one.
            if (type != incr && format == 8)
                bytes = QByteArray(reinterpret_cast<const char*>(data), int(items));
            XFree(data);
        }
        return bytes;
    }

    void request(std::chrono::steady_clock::time_point now) {
        const Time stamps[] = {selectionTime, CurrentTime, lastMotionTime};
        const Time stamp = stamps[retry.requests() % std::size(stamps)];
        requestedFor = changeCount;
        retry.asked(now);
        XConvertSelection(display, xdndSelection, uriList, property, requestor, stamp);
        XFlush(display);
    }
};

X11DesktopInput::X11DesktopInput() = default;
X11DesktopInput::~X11DesktopInput() = default;

bool X11DesktopInput::start() {
    if (connection_)
        return true;
    auto connection = std::make_unique<Connection>();
    if (!connection->open())
        return false;
    connection->onEvent = &onEvent;
    Connection* raw = connection.get();
    connection->notifier =
        std::make_unique<QSocketNotifier>(ConnectionNumber(raw->display), QSocketNotifier::Read);
    QObject::connect(raw->notifier.get(), &QSocketNotifier::activated, raw->notifier.get(),
                     [raw] { raw->drain(); });
    connection_ = std::move(connection);
    connection_->drain();
    return true;
}

void X11DesktopInput::stop() {
    connection_.reset();
}

PointerState X11DesktopInput::pointer() {
    if (!connection_)
        return {};
    Connection& c = *connection_;
    Window rootReturn = 0, child = 0;
    int rootX = 0, rootY = 0, winX = 0, winY = 0;
    unsigned int mask = 0;
    PointerState state;
    if (XQueryPointer(c.display, c.root, &rootReturn, &child, &rootX, &rootY, &winX, &winY,
                      &mask)) {
        state.leftButton = (mask & Button1Mask) != 0;
        state.modifierFlags = modifierFlags(mask);
        state.position = {rootX, rootY};
    }
    c.drain();
    return state;
}

std::uint64_t X11DesktopInput::dragChangeCount() {
    return connection_ ? connection_->changeCount : 0;
}

std::optional<QStringList> X11DesktopInput::dragFilePaths() {
    if (!connection_ || connection_->changeCount == 0)
        return std::nullopt;
    Connection& c = *connection_;
    // Called on every tick while the button is down and no files are in, so asking stops as soon
    // as the button is up or the files have come.
    if (const auto now = std::chrono::steady_clock::now(); c.retry.mayAsk(now))
        c.request(now);
    if (c.answerFor == c.changeCount)
        return c.answer;
    return std::nullopt;
}

void X11DesktopInput::setWatchingKeys(bool watching) {
    if (!connection_ || connection_->watchingKeys == watching)
        return;
    Connection& c = *connection_;
    c.watchingKeys = watching;
    if (watching) {
        Window rootReturn = 0, child = 0;
        int rootX = 0, rootY = 0, winX = 0, winY = 0;
        unsigned int mask = 0;
        XQueryPointer(c.display, c.root, &rootReturn, &child, &rootX, &rootY, &winX, &winY, &mask);
        c.resetKeys(mask);
    }
    c.selectRawEvents(); // events read meanwhile are handed on at the next drain
}

} // namespace tramix
