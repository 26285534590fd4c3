#include "Theme.h"

#include <QGuiApplication>

namespace tramix {

Theme Theme::light() {
    Theme theme;
    theme.card = QColor(0xfb, 0xfb, 0xfd);
    theme.cardEdge = QColor(0, 0, 0, 34);
    theme.fill = QColor(0, 0, 0, 12);
    theme.hover = QColor(0x4f, 0x7c, 0xff, 30);
    theme.text = QColor(0x1d, 0x1d, 0x1f);
    theme.secondaryText = QColor(0x6e, 0x6e, 0x73);
    theme.accent = QColor(0x4f, 0x6c, 0xf0);
    theme.success = QColor(0x28, 0xa7, 0x4b);
    theme.warning = QColor(0xe8, 0x8a, 0x00);
    theme.danger = QColor(0xd9, 0x3b, 0x30);
    return theme;
}

Theme Theme::darkTheme() {
    Theme theme;
    theme.dark = true;
    theme.card = QColor(0x2a, 0x2a, 0x2e);
    theme.cardEdge = QColor(255, 255, 255, 36);
    theme.fill = QColor(255, 255, 255, 14);
    theme.hover = QColor(0x7a, 0x98, 0xff, 48);
    theme.text = QColor(0xf5, 0xf5, 0xf7);
    theme.secondaryText = QColor(0xa1, 0xa1, 0xa8);
    theme.accent = QColor(0x7a, 0x98, 0xff);
    theme.success = QColor(0x34, 0xc7, 0x59);
    theme.warning = QColor(0xff, 0xb3, 0x40);
    theme.danger = QColor(0xff, 0x6b, 0x61);
    return theme;
}

bool Theme::isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128;
}

QFont Theme::font(qreal pointSize, QFont::Weight weight) {
    QFont font = QGuiApplication::font();
    font.setPointSizeF(pointSize);
    font.setWeight(weight);
    return font;
}

} // namespace tramix
