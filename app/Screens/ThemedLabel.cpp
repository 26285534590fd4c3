#include "ThemedLabel.h"

namespace tramix {

namespace {

QFont fontOf(ThemedLabel::Role role) {
    using Role = ThemedLabel::Role;
    switch (role) {
    case Role::display:
        return Theme::font(17, QFont::Bold);
    case Role::lead:
        return Theme::font(10.5);
    case Role::title:
        return Theme::font(9.5, QFont::DemiBold);
    case Role::body:
        return Theme::font(9.5);
    case Role::secondary:
        return Theme::font(8.5);
    case Role::heading: {
        QFont font = Theme::font(7.5, QFont::Bold);
        font.setLetterSpacing(QFont::AbsoluteSpacing, 0.8);
        return font;
    }
    }
    return Theme::font(9.5);
}

} // namespace

ThemedLabel::ThemedLabel(const QString& text, Role role, QWidget* parent)
    : QLabel(role == Role::heading ? text.toUpper() : text, parent)
    , role_(role) {
    setFont(fontOf(role));
    setTextFormat(Qt::PlainText);
    setWordWrap(role == Role::lead || role == Role::body || role == Role::secondary);
    restyle(Theme::light());
}

void ThemedLabel::restyle(const Theme& theme) {
    const bool quiet = role_ == Role::lead || role_ == Role::secondary || role_ == Role::heading;
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, quiet ? theme.secondaryText : theme.text);
    setPalette(colours);
}

void ThemedLabel::restyleAll(QWidget* root, const Theme& theme) {
    for (ThemedLabel* label : root->findChildren<ThemedLabel*>())
        label->restyle(theme);
}

} // namespace tramix
