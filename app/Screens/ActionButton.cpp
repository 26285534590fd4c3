#include "ActionButton.h"

#include "Design/Theme.h"

#include <QFontMetricsF>
#include <QPainter>
#include <cmath>

namespace tramix {

namespace {

constexpr qreal radius = 8;
constexpr qreal horizontalPadding = 16;
constexpr int buttonHeight = 32;

QFont labelFont(ActionButton::Kind kind) {
    return Theme::font(9.5, kind == ActionButton::Kind::primary ? QFont::DemiBold : QFont::Medium);
}

} // namespace

ActionButton::ActionButton(const QString& text, Kind kind, QWidget* parent)
    : QPushButton(text, parent)
    , kind_(kind) {
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ActionButton::sizeHint() const {
    const qreal text = QFontMetricsF(labelFont(kind_)).horizontalAdvance(this->text());
    return {int(std::ceil(text + 2 * horizontalPadding)), buttonHeight};
}

void ActionButton::enterEvent(QEnterEvent* event) {
    hovered_ = true;
    update();
    QPushButton::enterEvent(event);
}

void ActionButton::leaveEvent(QEvent* event) {
    hovered_ = false;
    update();
    QPushButton::leaveEvent(event);
}

void ActionButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme theme = Theme::of(Theme::isDark(palette()));
    const QRectF box = QRectF(rect()).adjusted(1, 1, -1, -1);
    const bool primary = kind_ == Kind::primary;
    QColor fill = primary ? theme.accent : theme.fill;
    QColor text = primary ? QColor(Qt::white) : theme.text;
    if (primary && isDown())
        fill = fill.darker(115);
    else if (primary && hovered_)
        fill = fill.lighter(108);
    else if (!primary && (isDown() || hovered_))
        fill.setAlpha(std::min(255, fill.alpha() * (isDown() ? 3 : 2)));
    if (!isEnabled()) {
        fill.setAlpha(fill.alpha() / 2);
        text.setAlpha(120);
    }
    if (hasFocus()) {
        QColor ring = theme.accent;
        ring.setAlpha(primary ? 90 : 150);
        painter.setPen(QPen(ring, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(box.adjusted(-0.5, -0.5, 0.5, 0.5), radius + 1, radius + 1);
    }
    painter.setPen(primary ? Qt::NoPen : QPen(theme.cardEdge, 0.8));
    painter.setBrush(fill);
    painter.drawRoundedRect(box.adjusted(1.5, 1.5, -1.5, -1.5), radius, radius);
    painter.setFont(labelFont(kind_));
    painter.setPen(text);
    painter.drawText(box, Qt::AlignCenter, this->text());
}

} // namespace tramix
