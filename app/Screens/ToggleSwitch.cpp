#include "ToggleSwitch.h"

#include "Design/Theme.h"

#include <QPainter>

namespace tramix {

namespace {

constexpr int slideMs = 120;
constexpr qreal knobInset = 3;

} // namespace

ToggleSwitch::ToggleSwitch(QWidget* parent)
    : QAbstractButton(parent) {
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    animation_.setDuration(slideMs);
    animation_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&animation_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        position_ = value.toDouble();
        update();
    });
}

// Set from code: the knob jumps; flipped by the user: it slides.
void ToggleSwitch::checkStateSet() {
    animation_.stop();
    position_ = isChecked() ? 1 : 0;
    update();
}

void ToggleSwitch::nextCheckState() {
    const double from = position_;
    QAbstractButton::nextCheckState();
    slide(from);
}

void ToggleSwitch::slide(double from) {
    animation_.stop();
    animation_.setStartValue(from);
    animation_.setEndValue(isChecked() ? 1.0 : 0.0);
    animation_.start();
}

void ToggleSwitch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme theme = Theme::of(Theme::isDark(palette()));
    const QRectF track = QRectF(QPointF(0, 0), QSizeF(sizeHint()))
                             .translated(0, (height() - sizeHint().height()) / 2.0)
                             .adjusted(1, 1, -1, -1);
    const qreal radius = track.height() / 2;
    QColor off = theme.secondaryText;
    off.setAlpha(theme.dark ? 110 : 90);
    QColor on = theme.accent;
    if (!isEnabled()) {
        off.setAlpha(40);
        on.setAlpha(90);
    }
    // The track blends from the off colour into the accent as the knob moves.
    const auto mix = [&](int a, int b) { return int(a + (b - a) * position_); };
    const QColor fill(mix(off.red(), on.red()), mix(off.green(), on.green()),
                      mix(off.blue(), on.blue()), mix(off.alpha(), on.alpha()));
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(track, radius, radius);
    if (hasFocus()) {
        QColor ring = theme.accent;
        ring.setAlpha(110);
        painter.setPen(QPen(ring, 2.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(track.adjusted(-2, -2, 2, 2), radius + 2, radius + 2);
    }
    const qreal knob = track.height() - 2 * knobInset;
    const qreal left =
        track.left() + knobInset + (track.width() - knob - 2 * knobInset) * position_;
    const QRectF knobBox(left, track.top() + knobInset, knob, knob);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 40));
    painter.drawEllipse(knobBox.translated(0, 0.8));
    painter.setBrush(Qt::white);
    painter.drawEllipse(knobBox);
}

} // namespace tramix
