// Connects the drag monitor to the wheel: a key pressed during a file drag opens the wheel of
// the mode bound to it, and the wheel closes when the key goes up (hold) or the drag ends. The
// owner supplies the bindings, so they can come from the settings.
#pragma once

#include "DragMonitor.h"
#include "FileOperation.h"
#include "Settings/ModifierKey.h"
#include "Settings/WheelActivation.h"
#include "WheelController.h"
#include "WheelMode.h"

#include <QList>
#include <functional>
#include <optional>

namespace tramix {

struct WheelBindings {
    std::function<std::optional<WheelMode>(ModifierKey)> modeForKey;
    std::function<WheelActivation()> activation;
    std::function<QList<FileOperation>(WheelMode, const QStringList& paths)> operations;
};

namespace WheelWiring {

constexpr double releaseHideSeconds = 0.15;
constexpr double dragEndHideSeconds = 0.25;

// A key went down during a file drag: opens the wheel of the mode bound to it, if any.
void press(WheelController& wheel, const WheelBindings& bindings, ModifierKey key,
           const QStringList& paths);
// A key came up: in hold activation, closes the wheel that this key opened.
void release(WheelController& wheel, const WheelBindings& bindings, ModifierKey key);

// Sets the monitor's press, release, drag-end and held-key callbacks. Both objects must outlive
// the monitor's callbacks.
void connect(DragMonitor& monitor, WheelController& wheel, WheelBindings bindings);

} // namespace WheelWiring

} // namespace tramix
