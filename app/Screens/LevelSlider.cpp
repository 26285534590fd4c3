#include "LevelSlider.h"

#include "Design/Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <cmath>

namespace tramix {

namespace {

constexpr qreal knob = 18;
constexpr qreal track = 4;

} // namespace

LevelSlider::LevelSlider(QWidget* parent)
    : QSlider(Qt::Horizontal, parent) {
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setMinimumHeight(24);
}

qreal LevelSlider::knobCentre() const {
    const qreal span = width() - knob;
    const qreal fraction =
        maximum() == minimum() ? 0 : qreal(value() - minimum()) / (maximum() - minimum());
    return knob / 2 + span * fraction;
}

int LevelSlider::valueAt(qreal x) const {
    return QStyle::sliderValueFromPosition(minimum(), maximum(), int(std::lround(x - knob / 2)),
                                           int(width() - knob));
}

// The knob follows the pointer from the first press anywhere on the track.
void LevelSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return QSlider::mousePressEvent(event);
    setFocus(Qt::MouseFocusReason);
    setSliderDown(true);
    setSliderPosition(valueAt(event->position().x()));
    event->accept();
}

void LevelSlider::mouseMoveEvent(QMouseEvent* event) {
    if (!isSliderDown())
        return QSlider::mouseMoveEvent(event);
    setSliderPosition(valueAt(event->position().x()));
    event->accept();
}

void LevelSlider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme theme = Theme::of(Theme::isDark(palette()));
    const qreal middle = height() / 2.0;
    const QRectF groove(knob / 2, middle - track / 2, width() - knob, track);
    QColor rest = theme.secondaryText;
    rest.setAlpha(theme.dark ? 90 : 60);
    painter.setPen(Qt::NoPen);
    painter.setBrush(rest);
    painter.drawRoundedRect(groove, track / 2, track / 2);
    const qreal centre = knobCentre();
    painter.setBrush(theme.accent);
    painter.drawRoundedRect(QRectF(groove.left(), groove.top(), centre - groove.left(), track),
                            track / 2, track / 2);

    const QRectF knobBox(centre - knob / 2, middle - knob / 2, knob, knob);
    if (hasFocus()) {
        QColor ring = theme.accent;
        ring.setAlpha(90);
        painter.setBrush(ring);
        painter.drawEllipse(knobBox.adjusted(-3, -3, 3, 3));
    }
    painter.setBrush(QColor(0, 0, 0, 45));
    painter.drawEllipse(knobBox.translated(0, 1));
    painter.setPen(QPen(theme.cardEdge, 0.8));
    painter.setBrush(Qt::white);
    painter.drawEllipse(knobBox.adjusted(0.5, 0.5, -0.5, -0.5));
}

} // namespace tramix
