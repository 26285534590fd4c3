#include "WheelWiring.h"

namespace tramix::WheelWiring {

void connect(DragMonitor& monitor, WheelController& wheel, WheelBindings bindings) {
    auto shared = std::make_shared<WheelBindings>(std::move(bindings));
    // In hold activation a key already down when the drag is recognised opens the wheel too.
    monitor.treatHeldKeyAsPress = [shared] {
        return shared->activation() == WheelActivation::hold;
    };
    monitor.onPress = [shared, &wheel](ModifierKey key, const QStringList& paths) {
        const std::optional<WheelMode> mode = shared->modeForKey(key);
        if (!mode)
            return;
        wheel.show(*mode, key, shared->operations(*mode, paths), paths,
                   shared->activation() == WheelActivation::toggle);
    };
    monitor.onRelease = [shared, &wheel](ModifierKey) {
        if (shared->activation() == WheelActivation::hold)
            wheel.hide(releaseHideSeconds);
    };
    monitor.onDragEnded = [&wheel] { wheel.hide(dragEndHideSeconds); };
}

} // namespace tramix::WheelWiring
