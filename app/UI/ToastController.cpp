#include "ToastController.h"

#include "FileReveal.h"
#include "FloatingPanel.h"
#include "Settings/DebugLog.h"
#include "ToastView.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QScreen>
#include <algorithm>

namespace tramix {

ToastController::ToastController(QObject* parent)
    : QObject(parent)
    , onOpen([](const QStringList& paths) { FileReveal::reveal(paths); }) {
    hideWork_.setSingleShot(true);
    connect(&hideWork_, &QTimer::timeout, this, &ToastController::hide);
    fade_.setPropertyName("windowOpacity");
    fade_.setDuration(hideMs - 20);
    hideTimer_.setSingleShot(true);
    hideTimer_.setInterval(hideMs);
    connect(&hideTimer_, &QTimer::timeout, this, [this] {
        // A show during the fade made it visible again; then it stays.
        if (!model_.visible() && panel_)
            panel_->hide();
    });
}

ToastController::~ToastController() = default;

void ToastController::ensurePanel() {
    if (panel_)
        return;
    panel_ = std::make_unique<FloatingPanel>(QSize(ToastView::minimumWidth, 80));
    panel_->setWindowTitle(QStringLiteral("Tramix"));
    view_ = new ToastView(model_, panel_.get());
    view_->onOpen = [this](const QStringList&) { click(); };
    view_->onCancel = [this] {
        if (onCancel)
            onCancel();
    };
}

void ToastController::show(const ToastModel::State& state, QPoint near) {
    hideWork_.stop();
    model_.setState(state);
    ensurePanel();

    const QSize size = ToastView::fittingSize(state);
    panel_->setFixedSize(size);
    view_->setGeometry(QRect(QPoint(0, 0), size));
    QPainterPath card;
    card.addRoundedRect(QRectF(QPointF(0, 0), size), ToastView::cornerRadius,
                        ToastView::cornerRadius);
    panel_->setShape(QRegion(card.toFillPolygon().toPolygon()));

    panel_->showAt(origin(near, size, FloatingPanel::availableAt(near)));
    fade_.stop();
    panel_->setWindowOpacity(1.0);
    model_.setVisible(true);
    DebugLog::write(QStringLiteral("Toast: %1 · %2").arg(state.title(), state.subtitle()));

    if (const auto delay = hideDelayMs(state.kind))
        hideWork_.start(*delay);
}

void ToastController::hide() {
    hideWork_.stop();
    model_.setVisible(false);
    if (panel_ && panel_->translucent()) {
        fade_.setTargetObject(panel_.get());
        fade_.setStartValue(panel_->windowOpacity());
        fade_.setEndValue(0.0);
        fade_.start();
    }
    hideTimer_.start();
}

bool ToastController::isShown() const {
    return panel_ && panel_->isVisible();
}

QRect ToastController::panelGeometry() const {
    return panel_ ? panel_->geometry() : QRect();
}

QRect ToastController::cancelGeometry() const {
    const ToastModel::State& state = model_.state();
    if (!isShown() || state.kind != ToastModel::State::working || !state.cancellable)
        return {};
    return ToastView::cancelBox(panel_->size()).toAlignedRect().translated(panel_->pos());
}

void ToastController::click() {
    if (!model_.state().clickable())
        return;
    const QStringList outputs = model_.state().outputs;
    if (onOpen)
        onOpen(outputs);
    hide();
}

QPoint ToastController::origin(QPoint pointer, QSize size, const std::optional<QRect>& available) {
    QPoint origin(pointer.x() - size.width() / 2, pointer.y() + gap);
    if (!available)
        return origin;
    const QRect& area = *available;
    // Left and top win where the card is wider or taller than the area.
    origin.setX(std::max(std::min(origin.x(), area.right() + 1 - size.width() - margin),
                         area.left() + margin));
    origin.setY(std::max(std::min(origin.y(), area.bottom() + 1 - size.height() - margin),
                         area.top() + margin));
    return origin;
}

std::optional<int> ToastController::hideDelayMs(ToastModel::State::Kind kind) {
    switch (kind) {
    case ToastModel::State::working:
        return std::nullopt;
    case ToastModel::State::done:
    case ToastModel::State::cancelled:
        return doneMs;
    case ToastModel::State::failed:
        return failedMs;
    }
    return std::nullopt;
}

} // namespace tramix
