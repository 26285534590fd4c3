#include "WheelActivation.h"

namespace tramix {

std::optional<WheelActivation> WheelActivation::fromRawValue(QStringView raw) {
    for (WheelActivation activation : allCases()) {
        if (activation.rawValue() == raw)
            return activation;
    }
    return std::nullopt;
}

const std::array<WheelActivation, 2>& WheelActivation::allCases() {
    static const std::array<WheelActivation, 2> cases = {toggle, hold};
    return cases;
}

} // namespace tramix
