// The colours and fonts the toast and the menu share, for light and dark.
#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace tramix {

struct Theme {
    QColor card, cardEdge, fill, hover, text, secondaryText, accent, success, warning, danger;
    bool dark = false;

    static Theme light();
    static Theme darkTheme();
    static Theme of(bool dark) { return dark ? darkTheme() : light(); }
    // Dark when the palette's window colour is.
    static bool isDark(const QPalette& palette);

    // The interface font at `pointSize`, with `weight`.
    static QFont font(qreal pointSize, QFont::Weight weight = QFont::Normal);
};

} // namespace tramix
