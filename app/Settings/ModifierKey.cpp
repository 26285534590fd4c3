#include "ModifierKey.h"

namespace tramix {

std::uint32_t ModifierKey::flag() const {
    static constexpr std::uint32_t flags[] = {0x20000, 0x100000, 0x40000, 0x80000};
    return flags[value_];
}

QString ModifierKey::rawValue() const {
    static const char* const names[] = {"shift", "command", "control", "option"};
    return QString::fromLatin1(names[value_]);
}

QString ModifierKey::symbol() const {
    static const char* const symbols[] = {"⇧", "⌘", "⌃", "⌥"};
    return QString::fromUtf8(symbols[value_]);
}

QString ModifierKey::name(bool german) const {
    static const char* const germanNames[] = {"Umschalt", "Super", "Strg", "Alt"};
    static const char* const englishNames[] = {"Shift", "Super", "Ctrl", "Alt"};
    return QString::fromLatin1((german ? germanNames : englishNames)[value_]);
}

std::optional<ModifierKey> ModifierKey::fromRawValue(QStringView raw) {
    for (ModifierKey key : allCases()) {
        if (key.rawValue() == raw)
            return key;
    }
    return std::nullopt;
}

const std::array<ModifierKey, 4>& ModifierKey::allCases() {
    static const std::array<ModifierKey, 4> cases = {shift, command, control, option};
    return cases;
}

std::optional<ModifierKey> ModifierKey::single(std::uint32_t flags) {
    for (ModifierKey key : allCases()) {
        if (key.flag() == flags)
            return key;
    }
    return std::nullopt;
}

} // namespace tramix
