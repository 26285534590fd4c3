#include "SegmentedControl.h"

#include "Design/Theme.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

namespace tramix {

namespace {

constexpr int controlHeight = 30;
constexpr qreal inset = 2;
constexpr qreal radius = 8;
constexpr qreal textPadding = 10;

QFont optionFont(bool chosen) {
    return Theme::font(9, chosen ? QFont::DemiBold : QFont::Normal);
}

} // namespace

SegmentedControl::SegmentedControl(const QStringList& options, QWidget* parent)
    : QWidget(parent)
    , options_(options) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    describe();
}

QSize SegmentedControl::sizeHint() const {
    // Equal segments, each wide enough for the longest option in its bold form.
    const QFontMetricsF metrics(optionFont(true));
    qreal widest = 0;
    for (const QString& option : options_)
        widest = std::max(widest, metrics.horizontalAdvance(option));
    const qreal each = std::ceil(widest + 2 * textPadding);
    return {int(each * options_.size() + 2 * inset), controlHeight};
}

void SegmentedControl::setCurrent(std::optional<int> index) {
    if (index && (*index < 0 || *index >= options_.size()))
        index.reset();
    if (index == current_)
        return;
    current_ = index;
    if (current_ && !hasFocus())
        focus_ = *current_;
    describe();
    update();
}

QRectF SegmentedControl::segment(int index) const {
    const qreal each = (width() - 2 * inset) / std::max<qsizetype>(options_.size(), 1);
    return QRectF(inset + index * each, inset, each, height() - 2 * inset);
}

std::optional<int> SegmentedControl::indexAt(QPointF point) const {
    for (int i = 0; i < options_.size(); ++i)
        if (segment(i).contains(point))
            return i;
    return std::nullopt;
}

void SegmentedControl::choose(int index) {
    focus_ = index;
    setCurrent(index);
    Q_EMIT chosen(index);
}

void SegmentedControl::moveFocus(int index) {
    index = std::clamp(index, 0, int(options_.size()) - 1);
    if (followsFocus_) {
        if (current_ != index)
            choose(index);
        return;
    }
    focus_ = index;
    update();
}

// Screen readers hear the choice and where the focus is.
void SegmentedControl::describe() {
    QString description = current_ ? options_[*current_] : QString();
    if (hasFocus() && focus_ != current_.value_or(-1))
        description += QStringLiteral(" (%1)").arg(options_.value(focus_));
    setAccessibleDescription(description);
}

void SegmentedControl::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme theme = Theme::of(Theme::isDark(palette()));
    const QRectF track = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.fill);
    painter.drawRoundedRect(track, radius, radius);

    for (int i = 0; i < options_.size(); ++i) {
        const QRectF box = segment(i);
        const bool chosen = current_ == i;
        if (chosen) {
            // The chosen segment is lifted: the card's colour with a hairline and a soft shadow.
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(0, 0, 0, theme.dark ? 60 : 18));
            painter.drawRoundedRect(box.translated(0, 1), radius - 1.5, radius - 1.5);
            painter.setPen(QPen(theme.cardEdge, 0.8));
            painter.setBrush(theme.dark ? theme.card.lighter(160) : theme.card);
            painter.drawRoundedRect(box, radius - 1.5, radius - 1.5);
        } else if (hovered_ == i) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme.fill);
            painter.drawRoundedRect(box, radius - 1.5, radius - 1.5);
        }
        if (hasFocus() && focus_ == i) {
            QColor ring = theme.accent;
            ring.setAlpha(200);
            painter.setPen(QPen(ring, 2));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(box.adjusted(1, 1, -1, -1), radius - 2.5, radius - 2.5);
        }
        painter.setFont(optionFont(chosen));
        painter.setPen(chosen ? theme.text : theme.secondaryText);
        painter.drawText(box, Qt::AlignCenter, options_[i]);
        // A hairline between two plain neighbours.
        if (i > 0 && !chosen && current_ != i - 1) {
            painter.setPen(QPen(theme.cardEdge, 1));
            painter.drawLine(QPointF(box.left(), box.top() + 7),
                             QPointF(box.left(), box.bottom() - 7));
        }
    }
}

void SegmentedControl::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
        moveFocus(focus_ - 1);
        break;
    case Qt::Key_Right:
        moveFocus(focus_ + 1);
        break;
    case Qt::Key_Home:
        moveFocus(0);
        break;
    case Qt::Key_End:
        moveFocus(int(options_.size()) - 1);
        break;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        choose(focus_);
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    describe();
}

void SegmentedControl::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    if (const auto index = indexAt(event->position()))
        choose(*index);
}

void SegmentedControl::mouseMoveEvent(QMouseEvent* event) {
    const auto now = indexAt(event->position());
    if (now != hovered_) {
        hovered_ = now;
        update();
    }
}

void SegmentedControl::leaveEvent(QEvent*) {
    hovered_.reset();
    update();
}

void SegmentedControl::focusInEvent(QFocusEvent* event) {
    if (current_)
        focus_ = *current_;
    describe();
    QWidget::focusInEvent(event);
}

void SegmentedControl::focusOutEvent(QFocusEvent* event) {
    describe();
    QWidget::focusOutEvent(event);
}

} // namespace tramix
