// What the drag monitor needs to know about the whole desktop, whichever windowing system runs
// it: the left button, the modifier keys, and whether some application is dragging files.
// Nothing here grabs input or takes events away from other applications.
#pragma once

#include <QPoint>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace tramix {

struct PointerState {
    bool leftButton = false;
    // Device-independent modifier bits, as ModifierKey::flag gives them; nothing else is set.
    std::uint32_t modifierFlags = 0;
    QPoint position; // in device pixels of the whole desktop
};

class DesktopInput {
public:
    enum class Event { leftButtonDown, leftButtonUp, keyChanged, dragDataChanged };

    virtual ~DesktopInput() = default;

    // Starts watching; false when the desktop lacks what is needed (then nothing is delivered).
    virtual bool start() = 0;
    virtual void stop() = 0;

    virtual PointerState pointer() = 0;
    // Rises each time a drag source takes hold of the drag data, like a pasteboard change count.
    virtual std::uint64_t dragChangeCount() = 0;
    // The local files of the current drag. None while no answer has come; an empty list when the
    // last answer held no local files. A busy source may drop a request, answer it late, refuse
    // it until its drag has really begun or answer before its data is ready, so each call may ask
    // again, within a few seconds' budget per drag; call it for as long as the files are wanted.
    // Asking again is cheap: the answer is kept per drag.
    virtual std::optional<QStringList> dragFilePaths() = 0;
    // Key events are only wanted while a drag may be running; at rest they would wake us for
    // every keystroke typed anywhere.
    virtual void setWatchingKeys(bool watching) = 0;

    // Called on the main thread, never from inside another call of this interface. With
    // `keyChanged` comes the modifier state right after that key event (keys pressed at the same
    // moment arrive as one change), so a short tap is seen even when it is handled late. With
    // every event comes the drag change count as it stood when the event happened, so a press
    // read together with the drag that followed it still counts as before that drag.
    std::function<void(Event, std::uint32_t modifierFlags, std::uint64_t dragChangeCount)> onEvent;
};

namespace Desktop {

// The input source of the running windowing system, or none where it is not supported.
std::unique_ptr<DesktopInput> createInput();

// Whether a compositing manager runs, so translucent windows are blended instead of black.
bool compositorRunning();

// Makes drops on `window` offer "copy" to the drag source whatever the source proposes, so a
// source that offers only "move" (GTK with Shift held) is never told its files were moved. The
// guard lasts as long as the returned handle.
std::shared_ptr<void> answerDropsWithCopy(unsigned long long window);

} // namespace Desktop

} // namespace tramix
