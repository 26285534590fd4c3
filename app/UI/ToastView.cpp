#include "ToastView.h"

#include "Design/StatusGlyphs.h"

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

namespace tramix {

namespace {

constexpr qreal padding = 16;
constexpr qreal iconSize = 26;
constexpr qreal iconGap = 12;
constexpr qreal cancelSize = 22;

QFont titleFont() {
    return Theme::font(10.5, QFont::DemiBold);
}

QFont subtitleFont() {
    return Theme::font(9);
}

void drawIcon(QPainter& painter, const QRectF& box, const ToastModel::State& state,
              const Theme& theme, double turn) {
    switch (state.kind) {
    case ToastModel::State::working:
        if (state.fraction >= 0)
            StatusGlyphs::progressRing(painter, box.adjusted(2, 2, -2, -2), theme.accent,
                                       state.fraction);
        else if (state.total > 0)
            StatusGlyphs::progressRing(painter, box.adjusted(2, 2, -2, -2), theme.accent,
                                       double(state.finished) / double(state.total));
        else
            StatusGlyphs::spinner(painter, box.adjusted(2, 2, -2, -2), theme.accent, turn);
        break;
    case ToastModel::State::done:
        StatusGlyphs::checkmarkCircle(painter, box, theme.success, Qt::white);
        break;
    case ToastModel::State::failed:
        StatusGlyphs::warningTriangle(painter, box, theme.warning, Qt::white);
        break;
    case ToastModel::State::cancelled:
        StatusGlyphs::exclamationCircle(painter, box, theme.secondaryText);
        break;
    }
}

bool showsCancel(const ToastModel::State& state) {
    return state.kind == ToastModel::State::working && state.cancellable;
}

// A round button with a cross, quiet like the subtitle so it does not compete with the title.
void drawCancel(QPainter& painter, const QRectF& box, const Theme& theme) {
    painter.setPen(Qt::NoPen);
    QColor fill = theme.secondaryText;
    fill.setAlphaF(0.16);
    painter.setBrush(fill);
    painter.drawEllipse(box);
    const qreal arm = box.width() * 0.2;
    painter.setPen(QPen(theme.secondaryText, 1.6, Qt::SolidLine, Qt::RoundCap));
    const QPointF c = box.center();
    painter.drawLine(c + QPointF(-arm, -arm), c + QPointF(arm, arm));
    painter.drawLine(c + QPointF(-arm, arm), c + QPointF(arm, -arm));
}

// Wraps `text` into the box's two lines; what does not fit ends in an ellipsis.
void drawTwoLines(QPainter& painter, const QRectF& box, const QString& text) {
    QTextLayout layout(text, painter.font());
    layout.beginLayout();
    QTextLine first = layout.createLine();
    first.setLineWidth(box.width());
    layout.endLayout();
    const QFontMetricsF metrics(painter.font());
    const QString head = text.left(first.textLength()).trimmed();
    const QString rest = text.mid(first.textLength()).trimmed();
    painter.drawText(QRectF(box.left(), box.top(), box.width(), metrics.height()),
                     Qt::AlignLeft | Qt::AlignVCenter, head);
    painter.drawText(
        QRectF(box.left(), box.top() + metrics.lineSpacing(), box.width(), metrics.height()),
        Qt::AlignLeft | Qt::AlignVCenter, metrics.elidedText(rest, Qt::ElideRight, box.width()));
}

} // namespace

ToastView::ToastView(ToastModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model) {
    setAttribute(Qt::WA_TranslucentBackground);
    spin_.setInterval(16);
    connect(&spin_, &QTimer::timeout, this, [this] {
        turn_ = std::fmod(turn_ + 16.0 / 900.0, 1.0);
        update();
    });
    connect(&model_, &ToastModel::stateChanged, this, &ToastView::follow);
    connect(&model_, &ToastModel::visibleChanged, this, &ToastView::follow);
    follow();
}

QSize ToastView::fittingSize(const ToastModel::State& state) {
    const QFontMetricsF subtitleMetrics(subtitleFont());
    const qreal text = std::max(QFontMetricsF(titleFont()).horizontalAdvance(state.title()),
                                subtitleMetrics.horizontalAdvance(state.subtitle()));
    const qreal wanted = padding + iconSize + iconGap + text + padding + 2 +
                         (showsCancel(state) ? cancelSize + iconGap : 0);
    const int width = std::clamp(int(std::ceil(wanted)), minimumWidth, maximumWidth);
    // A long failure message gets a second line rather than losing its end.
    const bool twoLines = state.kind == ToastModel::State::failed && wanted > maximumWidth;
    return {width, height + (twoLines ? int(std::ceil(subtitleMetrics.lineSpacing())) : 0)};
}

void ToastView::paint(QPainter& painter, QSize size, const ToastModel::State& state,
                      const Theme& theme, double turn) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QRectF card = QRectF(QPointF(0, 0), size).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.setBrush(theme.card);
    painter.drawRoundedRect(card, cornerRadius, cornerRadius);

    const QRectF icon(padding, (size.height() - iconSize) / 2.0, iconSize, iconSize);
    drawIcon(painter, icon, state, theme, turn);

    const qreal textLeft = icon.right() + iconGap;
    const qreal textWidth =
        size.width() - textLeft - padding - (showsCancel(state) ? cancelSize + iconGap : 0);
    if (showsCancel(state))
        drawCancel(painter, cancelBox(size), theme);
    const QFontMetricsF titleMetrics(titleFont());
    const QFontMetricsF subtitleMetrics(subtitleFont());
    const QString subtitle = state.subtitle();
    const bool twoLines = size.height() > height;
    const qreal subtitleHeight =
        subtitleMetrics.height() + (twoLines ? subtitleMetrics.lineSpacing() : 0);
    const qreal lines = titleMetrics.height() + (subtitle.isEmpty() ? 0 : 3 + subtitleHeight);
    qreal y = (size.height() - lines) / 2.0;

    painter.setFont(titleFont());
    painter.setPen(theme.text);
    painter.drawText(QRectF(textLeft, y, textWidth, titleMetrics.height()),
                     Qt::AlignLeft | Qt::AlignVCenter,
                     titleMetrics.elidedText(state.title(), Qt::ElideRight, textWidth));
    if (!subtitle.isEmpty()) {
        y += titleMetrics.height() + 3;
        painter.setFont(subtitleFont());
        painter.setPen(theme.secondaryText);
        if (twoLines) {
            drawTwoLines(painter, QRectF(textLeft, y, textWidth, subtitleHeight), subtitle);
        } else {
            // File names keep their ends (the extension) when cut.
            const auto mode =
                state.kind == ToastModel::State::failed ? Qt::ElideRight : Qt::ElideMiddle;
            painter.drawText(QRectF(textLeft, y, textWidth, subtitleMetrics.height()),
                             Qt::AlignLeft | Qt::AlignVCenter,
                             subtitleMetrics.elidedText(subtitle, mode, textWidth));
        }
    }
    painter.restore();
}

QRectF ToastView::cancelBox(QSize size) {
    return {size.width() - padding - cancelSize, (size.height() - cancelSize) / 2.0, cancelSize,
            cancelSize};
}

QImage ToastView::render(const ToastModel::State& state, bool dark, double scale) {
    const QSize size = fittingSize(state);
    QImage image(size * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, size, state, Theme::of(dark), 0.15);
    painter.end();
    return image;
}

void ToastView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paint(painter, size(), model_.state(), Theme::of(Theme::isDark(palette())), turn_);
}

void ToastView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && showsCancel(model_.state()) &&
        cancelBox(size()).contains(event->position()) && onCancel) {
        onCancel();
        return;
    }
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()) &&
        model_.state().clickable() && onOpen)
        onOpen(model_.state().outputs);
}

void ToastView::follow() {
    const ToastModel::State& state = model_.state();
    const bool spinning =
        model_.visible() && state.kind == ToastModel::State::working && state.total == 0;
    if (spinning && !spin_.isActive())
        spin_.start();
    else if (!spinning)
        spin_.stop();
    setCursor(state.clickable() || showsCancel(state) ? Qt::PointingHandCursor : Qt::ArrowCursor);
    update();
}

} // namespace tramix
