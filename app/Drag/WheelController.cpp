#include "WheelController.h"

#include "Platform/DesktopInput.h"
#include "UI/FloatingPanel.h"
#include "UI/PaintWatcher.h"
#include "WheelDropView.h"
#include "WheelView.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QPainterPath>
#include <QScreen>
#include <QWindow>

namespace tramix {

WheelController::WheelController(QObject* parent)
    : QObject(parent) {
    hideWork_.setSingleShot(true);
    connect(&hideWork_, &QTimer::timeout, this, [this] {
        model_.setVisible(false);
        model_.setHovered(std::nullopt);
        hideTimer_.start();
    });
    hideTimer_.setSingleShot(true);
    hideTimer_.setInterval(hideDelayMs);
    connect(&hideTimer_, &QTimer::timeout, this, [this] {
        // A show in between wins.
        if (!model_.visible() && panel_)
            panel_->hide();
    });
}

WheelController::~WheelController() = default;

void WheelController::prepare() {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return;
    ensurePanel();
    // The first opening would otherwise pay for the native window, fonts and glyphs.
    panel_->winId();
    view_->grab();
}

void WheelController::ensurePanel() {
    if (panel_)
        return;
    const int size = int(geometry_.size);
    panel_ = std::make_unique<FloatingPanel>(QSize(size, size));
    panel_->setWindowTitle(QStringLiteral("Tramix"));
    view_ = new WheelView(model_, geometry_, panel_.get());
    view_->setOpaque(!panel_->translucent());
    copyAnswer_ = Desktop::answerDropsWithCopy(panel_->winId());
    dropView_ = new WheelDropView(model_, geometry_, panel_.get());
    dropView_->setGeometry(0, 0, size, size);
    dropView_->log = [this](const QString& message) { write(message); };
    dropView_->onDrop = [this](const FileOperation& op, const QStringList& paths) {
        const QPoint at = QCursor::pos();
        hide(0);
        if (onDrop)
            onDrop(op, paths, at);
    };
    dropView_->onChoose = [this](const FileOperation& op) {
        // The pointer may be unknown (a Wayland session): the toast goes where the wheel was.
        const QPoint at = panel_->geometry().center();
        const QStringList paths = clickPaths_;
        hide(0);
        if (onDrop)
            onDrop(op, paths, at);
    };
    dropView_->onDismiss = [this] {
        write(QStringLiteral("Rad geschlossen"));
        hide(0);
    };
    if (!panel_->translucent()) {
        // Without a compositor the clear corners would show black: cut the window to the plate,
        // following it as it grows in.
        auto reshape = [this](double appearance) {
            const double radius =
                WheelView::plateRadius(geometry_) * (0.82 + 0.18 * std::min(appearance, 1.0)) + 1;
            const QPointF c(geometry_.size / 2, geometry_.size / 2);
            QPainterPath circle;
            circle.addEllipse(c, radius, radius);
            panel_->setShape(QRegion(circle.toFillPolygon().toPolygon()));
        };
        connect(view_, &WheelView::appearanceChanged, this, reshape);
        reshape(0);
    }
    view_->installEventFilter(new PaintWatcher(this, [this] {
        if (!awaitingFirstPaint_)
            return;
        awaitingFirstPaint_ = false;
        if (onShown)
            onShown();
        if (dropView_->clickable())
            holdInput(grabTries);
        else
            nudgePointer();
    }));
}

void WheelController::show(WheelMode mode, ModifierKey key, const QList<FileOperation>& operations,
                           const QStringList& paths, bool toggle) {
    if (toggle && isUp() && model_.mode() == mode) {
        hide(0);
        return;
    }
    // A drag takes over a wheel opened for named files.
    releaseInput();
    open(mode, key, operations, paths, QCursor::pos());
}

void WheelController::showForFiles(WheelMode mode, ModifierKey key,
                                   const QList<FileOperation>& operations, const QStringList& paths,
                                   std::optional<QPoint> pointer) {
    ensurePanel();
    clickPaths_ = paths;
    dropView_->setClickable(true);
    QPoint at;
    if (pointer) {
        at = *pointer;
    } else if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        at = screen->availableGeometry().center();
    }
    const bool wasUp = isUp();
    open(mode, key, operations, paths, at);
    // Contents switched in place keep the grab they have.
    if (wasUp)
        holdInput(grabTries);
}

void WheelController::open(WheelMode mode, ModifierKey key, const QList<FileOperation>& operations,
                           const QStringList& paths, QPoint pointer) {
    hideWork_.stop();
    hideTimer_.stop();
    const bool wasUp = isUp();
    write(QStringLiteral("Rad %1 mit %2 Optionen an (%3, %4)")
              .arg(mode.rawValue())
              .arg(operations.size())
              .arg(double(pointer.x()), 0, 'f', 1)
              .arg(double(pointer.y()), 0, 'f', 1));

    model_.setMode(mode);
    model_.setKey(key);
    model_.setOperations(operations);
    model_.setPage(0);
    model_.setHovered(std::nullopt);
    model_.setFileLabel(WheelModel::labelForFiles(paths));
    if (wasUp)
        return; // a second key switches the contents in place
    ensurePanel();
    model_.setVisible(false);
    awaitingFirstPaint_ = true;
    place(pointer);
    QTimer::singleShot(0, this, [this] {
        if (panel_ && panel_->isVisible() && !hideWork_.isActive())
            model_.setVisible(true);
    });
}

void WheelController::hide(double afterSeconds) {
    releaseInput();
    hideWork_.stop();
    hideWork_.start(int(afterSeconds * 1000));
}

bool WheelController::isUp() const {
    return panel_ && panel_->isVisible() && model_.visible();
}

QRect WheelController::panelGeometry() const {
    return panel_ ? panel_->geometry() : QRect();
}

QPoint WheelController::panelOrigin(QPoint pointer, int size,
                                    const std::optional<QRect>& available) {
    return FloatingPanel::originCentredOn(pointer, QSize(size, size), available);
}

void WheelController::place(QPoint pointer) {
    panel_->showAt(panelOrigin(pointer, int(geometry_.size), FloatingPanel::availableAt(pointer)));
}

// A window that appears under a resting pointer is not entered by the drag until the source
// sends a position, and sources send positions only on motion: move the pointer a pixel and back.
void WheelController::nudgePointer() {
    const QPoint at = QCursor::pos();
    QCursor::setPos(at + QPoint(1, 0));
    QTimer::singleShot(40, this, [at] {
        if (QCursor::pos() == at + QPoint(1, 0))
            QCursor::setPos(at);
    });
}

void WheelController::holdInput(int triesLeft) {
    if (!dropView_ || !dropView_->clickable() || !panel_->isVisible())
        return;
    dropView_->grabMouse();
    dropView_->grabKeyboard();
    // The widget grab reports nothing; asking the window again tells whether the server agreed.
    QWindow* window = panel_->windowHandle();
    const bool held =
        window && window->setMouseGrabEnabled(true) && window->setKeyboardGrabEnabled(true);
    if (held) {
        write(QStringLiteral("Rad hält Zeiger und Tastatur"));
        return;
    }
    if (triesLeft > 0) {
        QTimer::singleShot(grabRetryMs, this, [this, triesLeft] { holdInput(triesLeft - 1); });
        return;
    }
    write(QStringLiteral("Rad bekommt Zeiger und Tastatur nicht; ein Klick auf ein Segment geht "
                         "trotzdem"));
}

void WheelController::releaseInput() {
    if (!dropView_ || !dropView_->clickable())
        return;
    dropView_->releaseMouse();
    dropView_->releaseKeyboard();
    dropView_->setClickable(false);
    clickPaths_.clear();
}

void WheelController::write(const QString& message) const {
    if (log)
        log(message);
}

} // namespace tramix
