// The floating shelf: a small panel that stays above other windows and holds files for later,
// so they can be dragged out again one by one or all at once. One per app; the list of parked
// files outlives the panel and the app.
#pragma once

#include "ShelfModel.h"
#include "ShelfThumbnails.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

namespace tramix {

class FloatingPanel;
class ShelfView;

class FloatShelfController : public QObject {
    Q_OBJECT
public:
    // The list lives in `ShelfModel::defaultStore()`.
    explicit FloatShelfController(QObject* parent = nullptr);
    // The list lives in `storeFile` (empty: in memory only).
    explicit FloatShelfController(const QString& storeFile, QObject* parent = nullptr);
    ~FloatShelfController() override;

    ShelfModel& model() { return model_; }

    // Parks `paths` (those that exist and are not parked yet) and shows the panel centred on
    // `near`, a point on the screen, kept inside that screen's free area. While the panel is
    // up it takes the files and stays where it is.
    void show(QPoint near, const QStringList& paths = {});
    // Takes the panel away; the files stay parked.
    void hide();
    bool isVisible() const;
    QRect panelGeometry() const;
    // The view inside the panel, made on first use; for tests and hosts.
    ShelfView& view();

    // The panel's top-left corner for a panel of `size` centred on `near`, moved inside
    // `available` where it would stick out (to its top-left where it is larger).
    static QPoint panelOrigin(QPoint near, QSize size, const std::optional<QRect>& available);

    // Told what the shelf does, for the debug log.
    std::function<void(const QString&)> log;
    // Told after the panel has been painted on screen for the first time since it was shown.
    std::function<void()> onShown;

private:
    void ensurePanel();
    void resizePanel();
    void write(const QString& message) const;

    ShelfModel model_;
    ThumbnailLoader thumbnails_;
    std::unique_ptr<FloatingPanel> panel_;
    ShelfView* view_ = nullptr;
    std::shared_ptr<void> copyAnswer_;
    bool awaitingPaint_ = false;
};

} // namespace tramix
