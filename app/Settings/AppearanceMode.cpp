#include "AppearanceMode.h"

#include <QApplication>
#include <QGuiApplication>

namespace tramix {

namespace {

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Window).lightness() < 128;
}

struct Colours {
    QColor window, text, base, alternateBase, button, disabledText, highlight, link, shadow;
};

QPalette build(const Colours& c) {
    QPalette palette;
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const bool disabled = group == QPalette::Disabled;
        const QColor text = disabled ? c.disabledText : c.text;
        palette.setColor(group, QPalette::Window, c.window);
        palette.setColor(group, QPalette::WindowText, text);
        palette.setColor(group, QPalette::Base, c.base);
        palette.setColor(group, QPalette::AlternateBase, c.alternateBase);
        palette.setColor(group, QPalette::ToolTipBase, c.base);
        palette.setColor(group, QPalette::ToolTipText, c.text);
        palette.setColor(group, QPalette::PlaceholderText, c.disabledText);
        palette.setColor(group, QPalette::Text, text);
        palette.setColor(group, QPalette::Button, c.button);
        palette.setColor(group, QPalette::ButtonText, text);
        palette.setColor(group, QPalette::BrightText, Qt::red);
        palette.setColor(group, QPalette::Light, c.button.lighter(150));
        palette.setColor(group, QPalette::Midlight, c.button.lighter(125));
        palette.setColor(group, QPalette::Mid, c.button.darker(130));
        palette.setColor(group, QPalette::Dark, c.button.darker(160));
        palette.setColor(group, QPalette::Shadow, c.shadow);
        palette.setColor(group, QPalette::Highlight, disabled ? c.disabledText : c.highlight);
        palette.setColor(group, QPalette::HighlightedText, Qt::white);
        palette.setColor(group, QPalette::Link, c.link);
        palette.setColor(group, QPalette::LinkVisited, c.link.darker(120));
    }
    return palette;
}

QPalette lightPalette() {
    return build({QColor(0xef, 0xef, 0xef), QColor(0x1d, 0x1d, 0x1f), Qt::white,
                  QColor(0xf5, 0xf5, 0xf5), QColor(0xe8, 0xe8, 0xe8), QColor(0x9a, 0x9a, 0x9a),
                  QColor(0x30, 0x8c, 0xc6), QColor(0x1a, 0x6f, 0xc4), QColor(0x76, 0x76, 0x76)});
}

QPalette darkPalette() {
    return build({QColor(0x2d, 0x2d, 0x30), QColor(0xf0, 0xf0, 0xf0), QColor(0x1e, 0x1e, 0x20),
                  QColor(0x35, 0x35, 0x38), QColor(0x3a, 0x3a, 0x3d), QColor(0x80, 0x80, 0x80),
                  QColor(0x2a, 0x82, 0xda), QColor(0x5a, 0xa9, 0xf0), QColor(0x10, 0x10, 0x10)});
}

void setApplicationPalette(const QPalette& palette) {
    // Widgets take their palette from QApplication; a plain QGuiApplication has only its own.
    if (qobject_cast<QApplication*>(QCoreApplication::instance()))
        QApplication::setPalette(palette);
    else
        QGuiApplication::setPalette(palette);
}

} // namespace

QString AppearanceMode::rawValue() const {
    static const char* const names[] = {"system", "light", "dark"};
    return QString::fromLatin1(names[value_]);
}

std::optional<AppearanceMode> AppearanceMode::fromRawValue(QStringView raw) {
    for (AppearanceMode mode : allCases()) {
        if (mode.rawValue() == raw)
            return mode;
    }
    return std::nullopt;
}

const std::array<AppearanceMode, 3>& AppearanceMode::allCases() {
    static const std::array<AppearanceMode, 3> cases = {system, light, dark};
    return cases;
}

QPalette AppearanceMode::palette(const QPalette& desktop) const {
    if (value_ == system || (value_ == dark) == isDark(desktop))
        return desktop;
    return value_ == dark ? darkPalette() : lightPalette();
}

void AppearanceMode::apply() const {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return;
    // An empty palette gives back the desktop's own, which is the base for every mode.
    setApplicationPalette(QPalette());
    if (value_ != system)
        setApplicationPalette(palette(QGuiApplication::palette()));
}

} // namespace tramix
