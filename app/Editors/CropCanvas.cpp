#include "CropCanvas.h"

#include "Design/StatusGlyphs.h"
#include "Design/Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace tramix {

namespace {

constexpr qreal margin = 18;
// A press this close to a corner takes the handle.
constexpr qreal handleReach = 16;
constexpr qreal handleLength = 18;
constexpr qreal handleWidth = 4;
constexpr int dimAlpha = 140;

} // namespace

CropCanvas::CropCanvas(CropModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model) {
    setMouseTracking(true);
    setMinimumSize(240, 180);
    connect(&model_, &CropModel::changed, this, qOverload<>(&QWidget::update));
}

void CropCanvas::setDark(bool dark) {
    dark_ = dark;
    update();
}

QRectF CropCanvas::imageRect() const {
    const QImage& preview = model_.preview();
    if (preview.isNull())
        return {};
    const QRectF area = QRectF(rect()).adjusted(margin, margin, -margin, -margin);
    const QSizeF fitted = QSizeF(preview.size()).scaled(area.size(), Qt::KeepAspectRatio);
    return QRectF(area.center() - QPointF(fitted.width(), fitted.height()) / 2, fitted);
}

QRectF CropCanvas::frameRect() const {
    const QRectF image = imageRect();
    const QRectF frame = model_.rect();
    return QRectF(image.left() + frame.x() * image.width(),
                  image.top() + frame.y() * image.height(), frame.width() * image.width(),
                  frame.height() * image.height());
}

void CropCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const Theme theme = Theme::of(dark_);
    const QRectF image = imageRect();
    if (image.isEmpty()) {
        if (model_.busy())
            StatusGlyphs::spinner(painter,
                                  QRectF(rect().center() - QPointF(14, 14), QSizeF(28, 28)),
                                  theme.accent, 0.1);
        return;
    }
    painter.drawImage(image, model_.preview());

    const QRectF frame = frameRect();
    QPainterPath outside;
    outside.addRect(image);
    outside.addRect(frame);
    outside.setFillRule(Qt::OddEvenFill);
    painter.fillPath(outside, QColor(0, 0, 0, dimAlpha));

    if (dragStart_) {
        painter.setPen(QPen(QColor(255, 255, 255, 150), 1));
        for (int i = 1; i < 3; ++i) {
            const qreal x = frame.left() + frame.width() * i / 3;
            const qreal y = frame.top() + frame.height() * i / 3;
            painter.drawLine(QPointF(x, frame.top()), QPointF(x, frame.bottom()));
            painter.drawLine(QPointF(frame.left(), y), QPointF(frame.right(), y));
        }
    }
    painter.setPen(QPen(QColor(255, 255, 255, 230), 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(frame);

    // Corner handles: short thick angles just inside the frame.
    QPen handle(Qt::white, handleWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(handle);
    const qreal length = std::min({handleLength, frame.width() / 2, frame.height() / 2});
    const qreal inset = handleWidth / 2;
    const QRectF inner = frame.adjusted(inset, inset, -inset, -inset);
    for (const auto& [corner, dx, dy] :
         {std::tuple{inner.topLeft(), 1.0, 1.0}, std::tuple{inner.topRight(), -1.0, 1.0},
          std::tuple{inner.bottomLeft(), 1.0, -1.0}, std::tuple{inner.bottomRight(), -1.0, -1.0}}) {
        QPainterPath angle(corner + QPointF(0, dy * length));
        angle.lineTo(corner);
        angle.lineTo(corner + QPointF(dx * length, 0));
        painter.drawPath(angle);
    }
}

std::optional<CropModel::Corner> CropCanvas::cornerAt(QPointF point) const {
    const QRectF frame = frameRect();
    const std::pair<QPointF, CropModel::Corner> corners[] = {
        {frame.topLeft(), CropModel::Corner::topLeft},
        {frame.topRight(), CropModel::Corner::topRight},
        {frame.bottomLeft(), CropModel::Corner::bottomLeft},
        {frame.bottomRight(), CropModel::Corner::bottomRight}};
    for (const auto& [at, corner] : corners) {
        if (QLineF(at, point).length() <= handleReach)
            return corner;
    }
    return std::nullopt;
}

void CropCanvas::updateCursor(QPointF point) {
    if (const auto corner = cornerAt(point)) {
        const bool falling =
            *corner == CropModel::Corner::topLeft || *corner == CropModel::Corner::bottomRight;
        setCursor(falling ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor);
    } else if (frameRect().contains(point)) {
        setCursor(dragStart_ ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
    } else {
        unsetCursor();
    }
}

void CropCanvas::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || model_.busy() || imageRect().isEmpty())
        return;
    const QPointF at = event->position();
    dragCorner_ = cornerAt(at);
    if (!dragCorner_ && !frameRect().contains(at))
        return;
    dragStart_ = model_.rect();
    pressedAt_ = at;
    updateCursor(at);
    update();
}

void CropCanvas::mouseMoveEvent(QMouseEvent* event) {
    if (!dragStart_) {
        updateCursor(event->position());
        return;
    }
    const QRectF image = imageRect();
    const QPointF moved = event->position() - pressedAt_;
    const QPointF offset(moved.x() / std::max(image.width(), 1.0),
                         moved.y() / std::max(image.height(), 1.0));
    if (dragCorner_)
        model_.resize(*dragStart_, *dragCorner_, offset);
    else
        model_.move(*dragStart_, offset);
}

void CropCanvas::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !dragStart_)
        return;
    dragStart_.reset();
    dragCorner_.reset();
    updateCursor(event->position());
    update();
}

} // namespace tramix
