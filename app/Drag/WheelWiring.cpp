#include "WheelWiring.h"

namespace tramix::WheelWiring {

void press(WheelController& wheel, const WheelBindings& bindings, ModifierKey key,
           const QStringList& paths) {
    const std::optional<WheelMode> mode = bindings.modeForKey(key);
    if (!mode)
        return;
    wheel.show(*mode, key, bindings.operations(*mode, paths), paths,
               bindings.activation() == WheelActivation::toggle);
}

void release(WheelController& wheel, const WheelBindings& bindings, ModifierKey key) {
    if (bindings.activation() != WheelActivation::hold)
        return;
    // Another key's release must not close a wheel held open by its own key.
    if (wheel.isUp() && wheel.model().visible() && wheel.model().key() == key)
        wheel.hide(releaseHideSeconds);
}

void connect(DragMonitor& monitor, WheelController& wheel, WheelBindings bindings) {
    auto shared = std::make_shared<WheelBindings>(std::move(bindings));
    // In hold activation a key already down when the drag is recognised opens the wheel too.
    monitor.treatHeldKeyAsPress = [shared] {
        return shared->activation() == WheelActivation::hold;
    };
    monitor.onPress = [shared, &wheel](ModifierKey key, const QStringList& paths) {
        press(wheel, *shared, key, paths);
    };
    monitor.onRelease = [shared, &wheel](ModifierKey key) { release(wheel, *shared, key); };
    monitor.onDragEnded = [&wheel] { wheel.hide(dragEndHideSeconds); };
}

} // namespace tramix::WheelWiring
