#include "DragMonitor.h"

#include <QFileInfo>

namespace tramix {

DragMonitor::DragMonitor(std::unique_ptr<DesktopInput> input, QObject* parent)
    : QObject(parent)
    , input_(std::move(input)) {
    idleTimer_.setInterval(idleIntervalMs);
    sessionTimer_.setInterval(sessionIntervalMs);
    sessionTimer_.setTimerType(Qt::PreciseTimer);
    connect(&idleTimer_, &QTimer::timeout, this, &DragMonitor::idleTick);
    connect(&sessionTimer_, &QTimer::timeout, this, &DragMonitor::sessionTick);
}

DragMonitor::~DragMonitor() {
    if (input_)
        input_->onEvent = nullptr;
}

bool DragMonitor::start() {
    if (started_)
        return true;
    if (!input_ || !input_->start()) {
        write(QStringLiteral("Drag-Erkennung nicht verfügbar: keine X11-Sitzung mit XFixes und "
                             "XInput 2.1"));
        return false;
    }
    started_ = true;
    baseline_ = input_->dragChangeCount();
    input_->onEvent = [this](DesktopInput::Event event, std::uint32_t flags,
                             std::uint64_t changeCount) { handleEvent(event, flags, changeCount); };
    idleTimer_.start();
    return true;
}

void DragMonitor::stop() {
    if (!started_)
        return;
    idleTimer_.stop();
    endSession();
    input_->onEvent = nullptr;
    input_->stop();
    started_ = false;
}

void DragMonitor::handleEvent(DesktopInput::Event event, std::uint32_t flags,
                              std::uint64_t changeCount) {
    switch (event) {
    case DesktopInput::Event::leftButtonDown:
        // A new click invalidates whatever an earlier drag left behind; the count is the one at
        // the press, since the drag it starts may have been read in the same breath.
        if (!inSession_)
            baseline_ = changeCount;
        beginSession();
        break;
    case DesktopInput::Event::leftButtonUp:
    case DesktopInput::Event::dragDataChanged:
        if (inSession_)
            sessionTick();
        break;
    case DesktopInput::Event::keyChanged:
        if (isFileDrag_)
            handle(flags);
        break;
    }
}

// The safety net for presses whose events never reached us.
void DragMonitor::idleTick() {
    if (inSession_)
        return;
    if (input_->pointer().leftButton)
        beginSession();
    else
        baseline_ = input_->dragChangeCount();
}

void DragMonitor::beginSession() {
    if (inSession_)
        return;
    inSession_ = true;
    write(QStringLiteral("Maustaste gedrückt, Drag-Pasteboard %1 (Basis %2)")
              .arg(input_->dragChangeCount())
              .arg(baseline_));
    input_->setWatchingKeys(true);
    sessionTimer_.start();
    sessionTick();
}

void DragMonitor::sessionTick() {
    if (!inSession_)
        return;
    const PointerState state = input_->pointer();
    if (!inSession_)
        return; // the read delivered events that already ended the session
    if (!state.leftButton) {
        endSession();
        return;
    }
    if (isFileDrag_) {
        handle(state.modifierFlags);
        return;
    }
    if (input_->dragChangeCount() == baseline_)
        return; // a window move or a selection rectangle: no drag data was offered
    const std::optional<QStringList> paths = input_->dragFilePaths();
    if (!paths || paths->isEmpty())
        return;

    isFileDrag_ = true;
    draggedPaths_ = *paths;
    lastFlags_ = state.modifierFlags & modifierMask;
    QStringList names;
    for (const QString& path : draggedPaths_)
        names.append(QFileInfo(path).fileName());
    write(QStringLiteral("Datei-Drag erkannt: %1, Tasten beim Start: %2")
              .arg(names.join(QStringLiteral(", ")))
              .arg(lastFlags_));
    if (treatHeldKeyAsPress && treatHeldKeyAsPress()) {
        if (const auto key = ModifierKey::single(lastFlags_)) {
            pressedKey_ = key;
            if (onPress)
                onPress(*key, draggedPaths_);
        }
    }
}

void DragMonitor::handle(std::uint32_t flags) {
    if (!isFileDrag_)
        return;
    const std::uint32_t masked = flags & modifierMask;
    if (masked == lastFlags_)
        return;
    // Two keys arriving in the same change are no press.
    if (const auto key = ModifierKey::single(masked & ~lastFlags_)) {
        write(QStringLiteral("Taste gedrückt: %1").arg(key->rawValue()));
        pressedKey_ = key;
        if (onPress)
            onPress(*key, draggedPaths_);
    }
    if (pressedKey_ && !(masked & pressedKey_->flag())) {
        const ModifierKey released = *pressedKey_;
        write(QStringLiteral("Taste losgelassen: %1").arg(released.rawValue()));
        pressedKey_.reset();
        if (onRelease)
            onRelease(released);
    }
    lastFlags_ = masked;
}

void DragMonitor::endSession() {
    if (!inSession_)
        return;
    sessionTimer_.stop();
    const bool wasFileDrag = isFileDrag_;
    inSession_ = false;
    isFileDrag_ = false;
    pressedKey_.reset();
    baseline_ = input_->dragChangeCount();
    input_->setWatchingKeys(false);
    if (wasFileDrag) {
        write(QStringLiteral("Drag beendet"));
        if (onDragEnded)
            onDragEnded();
    }
}

void DragMonitor::write(const QString& message) const {
    if (log)
        log(message);
}

} // namespace tramix
