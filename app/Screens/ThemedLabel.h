// A label in one of the screens' text styles, coloured from the theme. The colours follow the
// window's palette: its owner calls `restyleAll` when the palette changes (light and dark).
#pragma once

#include "Design/Theme.h"

#include <QLabel>

namespace tramix {

class ThemedLabel : public QLabel {
    Q_OBJECT
public:
    enum class Role {
        display,   // a window's title
        lead,      // the sentence under it
        title,     // of a row or a step
        body,      // running text
        secondary, // explanations, quieter
        heading,   // of a group, small capitals
    };

    ThemedLabel(const QString& text, Role role, QWidget* parent = nullptr);

    Role role() const { return role_; }
    void restyle(const Theme& theme);

    // Gives every themed label under `root` the colours of `theme`.
    static void restyleAll(QWidget* root, const Theme& theme);

private:
    Role role_;
};

} // namespace tramix
