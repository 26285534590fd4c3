// The three wheels, each opened by its own modifier key.
#pragma once

#include "Language.h"

#include <QString>
#include <array>
#include <optional>

namespace tramix {

class WheelMode {
public:
    enum Value { convert, tools, actions };

    constexpr WheelMode(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    QString rawValue() const;
    // "Formate", "Werkzeuge", "Aktionen" and their English names.
    QString title(Language language = Language::german) const;
    static std::optional<WheelMode> fromRawValue(QStringView raw);
    static const std::array<WheelMode, 3>& allCases();

private:
    Value value_;
};

} // namespace tramix
