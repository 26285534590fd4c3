// How a modifier key opens the wheel: a tap toggles it, or it stays open while the key is held.
#pragma once

#include <QString>
#include <array>
#include <optional>

namespace tramix {

class WheelActivation {
public:
    enum Value { toggle, hold };

    constexpr WheelActivation(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    QString rawValue() const {
        return value_ == hold ? QStringLiteral("hold") : QStringLiteral("toggle");
    }
    static std::optional<WheelActivation> fromRawValue(QStringView raw);
    static const std::array<WheelActivation, 2>& allCases();

private:
    Value value_;
};

} // namespace tramix
