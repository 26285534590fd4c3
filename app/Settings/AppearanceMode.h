// Whether the app follows the desktop's colours or is always light or always dark.
#pragma once

#include <QPalette>
#include <QString>
#include <array>
#include <optional>

namespace tramix {

class AppearanceMode {
public:
    enum Value { system, light, dark };

    constexpr AppearanceMode(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    QString rawValue() const;
    static std::optional<AppearanceMode> fromRawValue(QStringView raw);
    static const std::array<AppearanceMode, 3>& allCases();

    // The palette for this mode on a desktop whose own palette is `desktop`: the desktop's where
    // it already is light or dark as wanted, else our own light or dark one.
    QPalette palette(const QPalette& desktop) const;

    // Gives the running application this mode's palette; does nothing without a window system
    // (command line, tests).
    void apply() const;

private:
    Value value_;
};

} // namespace tramix
