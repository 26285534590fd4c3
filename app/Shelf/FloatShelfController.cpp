#include "FloatShelfController.h"

#include "Platform/DesktopInput.h"
#include "ShelfView.h"
#include "UI/FloatingPanel.h"
#include "UI/PaintWatcher.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPainterPath>
#include <QScreen>
#include <QTimer>
#include <algorithm>

namespace tramix {

namespace {

// Sharp enough for screens at twice the density and for the largest cached pictures' middle.
constexpr int thumbnailPixels = 128;

} // namespace

FloatShelfController::FloatShelfController(QObject* parent)
    : FloatShelfController(ShelfModel::defaultStore(), parent) {}

FloatShelfController::FloatShelfController(const QString& storeFile, QObject* parent)
    : QObject(parent)
    , model_(storeFile)
    , thumbnails_(thumbnailPixels) {
    connect(&model_, &ShelfModel::changed, this, [this] {
        QStringList paths;
        for (const ShelfModel::Item& item : model_.items())
            paths.append(item.path);
        thumbnails_.retain(paths);
    });
}

FloatShelfController::~FloatShelfController() = default;

QPoint FloatShelfController::panelOrigin(QPoint near, QSize size,
                                         const std::optional<QRect>& available) {
    return FloatingPanel::originCentredOn(near, size, available);
}

void FloatShelfController::ensurePanel() {
    if (panel_)
        return;
    panel_ =
        std::make_unique<FloatingPanel>(QSize(1, 1), nullptr, FloatingPanel::Lifetime::lasting);
    panel_->setWindowTitle(QStringLiteral("Tramix"));
    view_ = new ShelfView(model_, thumbnails_, panel_->translucent(), panel_.get());
    view_->move(0, 0);
    // A source that offers only "move" must never be told its files were moved here.
    copyAnswer_ = Desktop::answerDropsWithCopy(panel_->winId());
    view_->onClose = [this] { hide(); };
    view_->onClear = [this] {
        write(QStringLiteral("Ablage geleert"));
        model_.clear();
        hide();
    };
    view_->onDragged = [this](Qt::DropAction action, const QStringList& paths) {
        const char* name = action == Qt::MoveAction   ? "bewegt"
                           : action == Qt::LinkAction ? "verknüpft"
                           : action == Qt::CopyAction ? "kopiert"
                                                      : "abgebrochen";
        write(QStringLiteral("Aus der Ablage gezogen (%1): %2 Dateien")
                  .arg(QString::fromUtf8(name))
                  .arg(paths.size()));
    };
    view_->onDropped = [this](const QStringList& paths) {
        write(QStringLiteral("In die Ablage gelegt: %1 Dateien").arg(paths.size()));
    };
    connect(view_, &ShelfView::sizeChanged, this, &FloatShelfController::resizePanel);
    view_->installEventFilter(new PaintWatcher(this, [this] {
        if (!awaitingPaint_)
            return;
        awaitingPaint_ = false;
        if (onShown)
            onShown();
    }));
    resizePanel();
}

ShelfView& FloatShelfController::view() {
    ensurePanel();
    return *view_;
}

// The panel grows and shrinks with its list, keeping its top-left corner unless that would
// push it off the screen.
void FloatShelfController::resizePanel() {
    const QSize size = view_->sizeHint();
    panel_->setFixedSize(size);
    if (!panel_->translucent()) {
        QPainterPath card;
        card.addRoundedRect(QRectF(QPointF(0, 0), size), ShelfView::cornerRadius,
                            ShelfView::cornerRadius);
        panel_->setShape(QRegion(card.toFillPolygon().toPolygon()));
    }
    if (!panel_->isVisible())
        return;
    const QPoint at = panel_->pos();
    const QPoint kept = panelOrigin(at + QPoint(size.width() / 2, size.height() / 2), size,
                                    FloatingPanel::availableAt(at));
    if (kept != at)
        panel_->move(kept);
}

void FloatShelfController::show(QPoint near, const QStringList& paths) {
    ensurePanel();
    model_.refresh();
    const qsizetype added = model_.add(paths);
    write(QStringLiteral("Ablage an (%1, %2) mit %3 neuen, %4 Dateien insgesamt")
              .arg(near.x())
              .arg(near.y())
              .arg(added)
              .arg(model_.count()));
    if (isVisible()) {
        if (!paths.isEmpty())
            view_->reveal(int(model_.count()) - 1);
        panel_->raise();
        return;
    }
    resizePanel();
    awaitingPaint_ = true;
    panel_->showAt(panelOrigin(near, panel_->size(), FloatingPanel::availableAt(near)));
}

void FloatShelfController::hide() {
    if (panel_ && panel_->isVisible()) {
        write(QStringLiteral("Ablage geschlossen"));
        panel_->hide();
    }
}

bool FloatShelfController::isVisible() const {
    return panel_ && panel_->isVisible();
}

QRect FloatShelfController::panelGeometry() const {
    return panel_ ? panel_->geometry() : QRect();
}

void FloatShelfController::write(const QString& message) const {
    if (log)
        log(message);
}

} // namespace tramix
