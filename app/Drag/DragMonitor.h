// Watches the whole desktop for a file drag with the mouse and reports a modifier key pressed
// or released during it, and the drag's end. It knows nothing of the wheel; its owner wires the
// callbacks. All of it runs on the main thread.
#pragma once

#include "Platform/DesktopInput.h"
#include "Settings/ModifierKey.h"

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

namespace tramix {

class DragMonitor : public QObject {
    Q_OBJECT
public:
    // Without an input source (an unsupported desktop) the monitor stays idle and says so.
    explicit DragMonitor(std::unique_ptr<DesktopInput> input, QObject* parent = nullptr);
    ~DragMonitor() override;

    std::function<void(ModifierKey, const QStringList& paths)> onPress;
    std::function<void(ModifierKey)> onRelease;
    // Asked once per drag when it is recognised: does a key already held count as a press?
    std::function<bool()> treatHeldKeyAsPress = [] { return false; };
    std::function<void()> onDragEnded;
    std::function<void(const QString&)> log;

    // Whether watching began; false when the desktop offers no way to watch drags.
    bool start();
    void stop();

    bool inSession() const { return inSession_; }
    bool isFileDrag() const { return isFileDrag_; }
    const QStringList& draggedPaths() const { return draggedPaths_; }
    std::optional<ModifierKey> pressedKey() const { return pressedKey_; }

    static constexpr int idleIntervalMs = 120;
    static constexpr int sessionIntervalMs = 16; // a tick per frame at 60 Hz

    // The only modifier bits ever compared; caps lock and the rest are dropped.
    static constexpr std::uint32_t modifierMask = 0x1E0000;

private:
    void handleEvent(DesktopInput::Event event, std::uint32_t flags, std::uint64_t changeCount);
    void idleTick();
    void beginSession();
    void sessionTick();
    void handle(std::uint32_t flags);
    void endSession();
    void write(const QString& message) const;

    std::unique_ptr<DesktopInput> input_;
    bool started_ = false;
    std::uint64_t baseline_ = 0;
    QTimer idleTimer_;
    QTimer sessionTimer_;
    bool inSession_ = false;
    bool isFileDrag_ = false;
    QStringList draggedPaths_;
    std::uint32_t lastFlags_ = 0;
    std::optional<ModifierKey> pressedKey_;
};

} // namespace tramix
