#include "WheelMode.h"

namespace tramix {

QString WheelMode::rawValue() const {
    static const char* const names[] = {"convert", "tools", "actions"};
    return QString::fromLatin1(names[value_]);
}

QString WheelMode::title(Language language) const {
    static const char* const german[] = {"Formate", "Werkzeuge", "Aktionen"};
    static const char* const english[] = {"Formats", "Tools", "Actions"};
    return QString::fromUtf8((language == Language::english ? english : german)[value_]);
}

std::optional<WheelMode> WheelMode::fromRawValue(QStringView raw) {
    for (WheelMode mode : allCases()) {
        if (mode.rawValue() == raw)
            return mode;
    }
    return std::nullopt;
}

const std::array<WheelMode, 3>& WheelMode::allCases() {
    static const std::array<WheelMode, 3> cases = {convert, tools, actions};
    return cases;
}

} // namespace tramix
