// The four modifier keys a wheel can be bound to, each with the flag bit that stands for it.
#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <optional>

namespace tramix {

class ModifierKey {
public:
    enum Value { shift, command, control, option };

    constexpr ModifierKey(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    // The device-independent flag bit of this key; platform code maps its own state onto these.
    std::uint32_t flag() const;
    QString rawValue() const;
    // The sign printed on the key cap: ⇧ ⌘ ⌃ ⌥.
    QString symbol() const;
    // The key's name on a Linux keyboard: "Umschalt", "Super", "Strg", "Alt" in German;
    // "Shift", "Super", "Ctrl", "Alt" in English.
    QString name(bool german) const;
    static std::optional<ModifierKey> fromRawValue(QStringView raw);
    static const std::array<ModifierKey, 4>& allCases();

    // The key whose bit equals `flags` exactly; none for no modifier or for several at once.
    static std::optional<ModifierKey> single(std::uint32_t flags);

private:
    Value value_;
};

} // namespace tramix
