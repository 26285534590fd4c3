#include "DemoWheel.h"

#include "Design/Theme.h"
#include "Drag/WheelView.h"

#include <QEasingCurve>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace tramix {

namespace {

constexpr int frameMs = 33;
constexpr int openMs = 300;
constexpr int firstVisitMs = 900;
constexpr int visitMs = 900;
constexpr int glideMs = 350;
constexpr int closeMs = 250;
const QString sampleFile = QStringLiteral("IMG_0412.heic");

double eased(double progress) {
    return QEasingCurve(QEasingCurve::InOutCubic).valueForProgress(std::clamp(progress, 0.0, 1.0));
}

QPointF between(QPointF from, QPointF to, double progress) {
    return from + (to - from) * eased(progress);
}

// A sheet with a folded corner and the pointer holding it, its tip at `tip`.
void paintDraggedFile(QPainter& p, QPointF tip, double opacity, const Theme& theme) {
    if (opacity <= 0)
        return;
    p.save();
    p.setOpacity(opacity);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF sheet(tip.x() + 4, tip.y() + 8, 22, 28);
    const qreal fold = 7;
    QPainterPath outline;
    outline.moveTo(sheet.topLeft());
    outline.lineTo(sheet.right() - fold, sheet.top());
    outline.lineTo(sheet.right(), sheet.top() + fold);
    outline.lineTo(sheet.bottomRight());
    outline.lineTo(sheet.bottomLeft());
    outline.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0, 0, 0, 40));
    p.drawPath(outline.translated(0, 1.5));
    p.setPen(QPen(theme.accent, 1.4));
    p.setBrush(theme.dark ? QColor(0x3a, 0x3f, 0x55) : QColor(0xee, 0xf1, 0xff));
    p.drawPath(outline);
    p.drawLine(QPointF(sheet.right() - fold, sheet.top()),
               QPointF(sheet.right() - fold, sheet.top() + fold));
    p.drawLine(QPointF(sheet.right() - fold, sheet.top() + fold),
               QPointF(sheet.right(), sheet.top() + fold));
    // The arrow pointer, white with a dark edge as on most desktops.
    QPainterPath arrow;
    arrow.moveTo(tip);
    arrow.lineTo(tip + QPointF(0, 15));
    arrow.lineTo(tip + QPointF(3.6, 11.6));
    arrow.lineTo(tip + QPointF(6.4, 17.4));
    arrow.lineTo(tip + QPointF(8.6, 16.4));
    arrow.lineTo(tip + QPointF(5.8, 10.8));
    arrow.lineTo(tip + QPointF(10.6, 10.6));
    arrow.closeSubpath();
    p.setPen(QPen(QColor(20, 20, 24), 1.1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::white);
    p.drawPath(arrow);
    p.restore();
}

} // namespace

DemoWheel::DemoWheel(ModifierKey key, bool german, QWidget* parent)
    : QWidget(parent)
    , model_(WheelModel::demo(WheelMode::convert, sampleFile,
                              german ? Language::german : Language::english)) {
    model_->setKey(key);
    setFixedSize(int(geometry_.size), int(geometry_.size));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    frames_.setInterval(frameMs);
    connect(&frames_, &QTimer::timeout, this, &DemoWheel::advance);
    connect(model_.get(), &WheelModel::changed, this, qOverload<>(&QWidget::update));
}

void DemoWheel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (frozen_)
        return;
    if (!clock_.isValid())
        clock_.start();
    frames_.start();
    advance();
}

void DemoWheel::hideEvent(QHideEvent* event) {
    frames_.stop();
    QWidget::hideEvent(event);
}

void DemoWheel::freeze(std::optional<int> hovered) {
    frames_.stop();
    frozen_ = true;
    appearance_ = 1;
    const int slots = model_->slots();
    const QPointF centre(geometry_.size / 2, geometry_.size / 2);
    file_ = hovered ? geometry_.labelCenter(*hovered, slots) + QPointF(18, 6) : centre;
    fileOpacity_ = 1;
    model_->setHovered(hovered);
    update();
}

// One round: the wheel opens, the file comes in to the centre, visits `visits` segments, rests on
// the last as if dropped, and the wheel closes.
void DemoWheel::advance() {
    if (frozen_ || !clock_.isValid())
        return;
    const int t = int(clock_.elapsed() % cycleMs);
    const int slots = model_->slots();
    const int count = std::min<int>(visits, int(model_->pageOperations().size()));
    const QPointF centre(geometry_.size / 2, geometry_.size / 2);
    const QPointF offset(18, 6); // the file sits beside the label, not on it
    const QPointF start(geometry_.size - 30, geometry_.size - 20);
    const int closeAt = firstVisitMs + count * visitMs + 300;

    appearance_ =
        t < closeAt ? eased(double(t) / openMs) : 1 - eased(double(t - closeAt) / closeMs);
    fileOpacity_ = t < closeAt ? std::min(1.0, t / 200.0) : appearance_;
    std::optional<int> hovered;
    if (t < firstVisitMs) {
        file_ = between(start, centre, double(t) / (firstVisitMs - 200));
    } else {
        const int visit = std::min(count - 1, (t - firstVisitMs) / visitMs);
        const int into = t - firstVisitMs - visit * visitMs;
        const QPointF from = visit == 0 ? centre : geometry_.labelCenter(visit - 1, slots) + offset;
        file_ = between(from, geometry_.labelCenter(visit, slots) + offset, double(into) / glideMs);
        if (into >= glideMs || visit < (t - firstVisitMs) / visitMs)
            hovered = visit;
    }
    model_->setHovered(count > 0 ? hovered : std::nullopt);
    update();
}

void DemoWheel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const bool dark = Theme::isDark(palette());
    WheelView::paint(painter, *model_, geometry_,
                     dark ? WheelPalette::dark() : WheelPalette::light(), appearance_, false);
    paintDraggedFile(painter, file_, fileOpacity_, Theme::of(dark));
}

} // namespace tramix
