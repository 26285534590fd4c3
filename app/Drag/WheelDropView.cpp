#include "WheelDropView.h"

#include "InputAlias.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <utility>

namespace tramix {

namespace {

QStringList localFiles(const QMimeData* data) {
    QStringList paths;
    if (!data)
        return paths;
    // Read as bytes: a name that is not UTF-8 must survive the drop.
    for (const QByteArray& line : data->data(QStringLiteral("text/uri-list")).split('\n')) {
        if (line.trimmed().isEmpty() || line.startsWith('#'))
            continue;
        if (const QString path = InputAlias::forFileUri(line); !path.isEmpty())
            paths.append(path);
    }
    return paths;
}

} // namespace

WheelDropView::WheelDropView(WheelModel& model, const WheelGeometry& geometry, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , geometry_(geometry) {
    setAcceptDrops(true);
    setAttribute(Qt::WA_TranslucentBackground);
    clock_.start();
    restTimer_.setInterval(restIntervalMs);
    restTimer_.setTimerType(Qt::PreciseTimer);
    connect(&restTimer_, &QTimer::timeout, this, [this] { track(lastPosition_); });
}

double WheelDropView::now() const {
    return double(clock_.nsecsElapsed()) / 1e9;
}

WheelZone WheelDropView::zoneAt(QPointF position) const {
    const QPointF fromCenter = position - QPointF(width() / 2.0, height() / 2.0);
    return geometry_.zone(fromCenter, model_.slots(), false);
}

bool WheelDropView::track(QPointF position) {
    lastPosition_ = position;
    const WheelZone zone = zoneAt(position);
    const qsizetype count = model_.pageOperations().size();

    if (zone.kind == WheelZone::segment && zone.index < count) {
        centerHoverStart_.reset();
        model_.setHovered(zone.index); // no haptics on this desktop
        return true;
    }
    if (zone.kind == WheelZone::center) {
        model_.setHovered(std::nullopt);
        const double t = now();
        if (!centerHoverStart_) {
            centerHoverStart_ = t;
        } else if (t - *centerHoverStart_ > pageTurnSeconds) {
            model_.nextPage();
            centerHoverStart_ = t;
        }
        return false;
    }
    centerHoverStart_.reset();
    model_.setHovered(std::nullopt);
    return false;
}

Qt::DropAction WheelDropView::safeAction(Qt::DropActions offered, Qt::DropAction proposed) {
    if (offered & Qt::CopyAction)
        return Qt::CopyAction;
    return proposed == Qt::MoveAction ? Qt::IgnoreAction : proposed;
}

void WheelDropView::dragEnterEvent(QDragEnterEvent* event) {
    write(QStringLiteral("Drag hat das Rad erreicht"));
    restTimer_.start();
    // Entering is always welcome, so the moves that follow reach us; each move decides.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (track(event->position()))
        event->acceptProposedAction();
}

void WheelDropView::dragMoveEvent(QDragMoveEvent* event) {
    if (track(event->position())) {
        // The status must name an action the source offers, or the source will not drop; the
        // drop itself then answers with one that never moves.
        event->setDropAction((event->possibleActions() & Qt::CopyAction) ? Qt::CopyAction
                                                                         : event->proposedAction());
        event->accept();
    } else {
        event->ignore();
    }
}

void WheelDropView::dragLeaveEvent(QDragLeaveEvent*) {
    restTimer_.stop();
    model_.setHovered(std::nullopt);
    centerHoverStart_.reset();
}

void WheelDropView::dropEvent(QDropEvent* event) {
    restTimer_.stop();
    const bool onSegment = track(event->position());
    centerHoverStart_.reset();
    const std::optional<FileOperation> op = model_.hoveredOperation();
    const QStringList paths = localFiles(event->mimeData());
    if (!onSegment || !op || paths.isEmpty()) {
        event->ignore();
        return;
    }
    write(QStringLiteral("Drop auf %1").arg(op->id));
    event->setDropAction(safeAction(event->possibleActions(), event->proposedAction()));
    event->accept();
    // Answer the source first; the work starts on the next turn of the event loop.
    QTimer::singleShot(0, this, [this, operation = *op, paths] {
        if (onDrop)
            onDrop(operation, paths);
    });
}

void WheelDropView::setClickable(bool clickable) {
    clickable_ = clickable;
    pressed_.reset();
    setMouseTracking(clickable);
}

void WheelDropView::mouseMoveEvent(QMouseEvent* event) {
    if (clickable_)
        track(event->position());
}

void WheelDropView::mousePressEvent(QMouseEvent* event) {
    if (!clickable_)
        return;
    // The view holds the pointer while the wheel is up, so a press anywhere else lands here too.
    const WheelZone zone = rect().contains(event->position().toPoint()) ? zoneAt(event->position())
                                                                        : WheelZone::outsideZone();
    pressed_.reset();
    if (zone.kind == WheelZone::outside) {
        if (onDismiss)
            onDismiss();
    } else if (zone.kind == WheelZone::center) {
        model_.nextPage();
    } else if (track(event->position())) {
        pressed_ = zone.index;
    }
}

void WheelDropView::mouseReleaseEvent(QMouseEvent* event) {
    if (!clickable_ || !pressed_)
        return;
    const std::optional<int> pressed = std::exchange(pressed_, std::nullopt);
    // An empty slot or the centre is refused as a drop there would be.
    if (!track(event->position()) || model_.hovered() != pressed)
        return;
    if (const std::optional<FileOperation> op = model_.hoveredOperation()) {
        write(QStringLiteral("Klick auf %1").arg(op->id));
        if (onChoose)
            onChoose(*op);
    }
}

void WheelDropView::stepHover(int step) {
    const int count = int(model_.pageOperations().size());
    if (count == 0)
        return;
    const std::optional<int> hovered = model_.hovered();
    const int next = hovered ? (*hovered + step + count) % count : (step > 0 ? 0 : count - 1);
    model_.setHovered(next);
}

void WheelDropView::keyPressEvent(QKeyEvent* event) {
    if (!clickable_) {
        QWidget::keyPressEvent(event);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Escape:
        if (onDismiss)
            onDismiss();
        break;
    case Qt::Key_Right:
    case Qt::Key_Down:
    case Qt::Key_Tab:
        stepHover(1);
        break;
    case Qt::Key_Left:
    case Qt::Key_Up:
    case Qt::Key_Backtab:
        stepHover(-1);
        break;
    case Qt::Key_PageDown:
    case Qt::Key_PageUp:
        model_.nextPage();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (const std::optional<FileOperation> op = model_.hoveredOperation()) {
            write(QStringLiteral("Taste wählt %1").arg(op->id));
            if (onChoose)
                onChoose(*op);
        }
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void WheelDropView::write(const QString& message) const {
    if (log)
        log(message);
}

} // namespace tramix
