// The transparent layer over the wheel drawing that takes the drag: it tracks the hovered
// segment, turns pages while the drag rests in the centre, and accepts a drop only on a segment.
// A wheel opened for named files (outside a drag) is worked by pointer and keys instead: hover
// highlights, a click on a segment chooses it, Escape or a press outside the plate closes.
#pragma once

#include "WheelGeometry.h"
#include "WheelModel.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <optional>

namespace tramix {

class WheelDropView : public QWidget {
    Q_OBJECT
public:
    WheelDropView(WheelModel& model, const WheelGeometry& geometry, QWidget* parent = nullptr);

    std::function<void(const FileOperation&, const QStringList& paths)> onDrop;
    std::function<void(const QString&)> log;
    // Pointer and key use: a segment was clicked (or chosen with Return); the wheel is to close.
    std::function<void(const FileOperation&)> onChoose;
    std::function<void()> onDismiss;

    // Whether pointer and keys work the wheel; off while a drag does.
    void setClickable(bool clickable);
    bool clickable() const { return clickable_; }

    static constexpr double pageTurnSeconds = 0.7;
    // Sources report positions only when the pointer moves, so a resting drag is re-checked on
    // this beat to let the centre turn pages.
    static constexpr int restIntervalMs = 25;

    // Whether a drop at `position` (in this view) would be taken; updates the hover and the
    // centre dwell on the way.
    bool track(QPointF position);

    // Never report "move" back to the source: whatever it offered, its files stay where they are.
    static Qt::DropAction safeAction(Qt::DropActions offered, Qt::DropAction proposed);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void write(const QString& message) const;
    double now() const;
    WheelZone zoneAt(QPointF position) const;
    void stepHover(int step);

    WheelModel& model_;
    WheelGeometry geometry_;
    std::optional<double> centerHoverStart_;
    QElapsedTimer clock_;
    QTimer restTimer_;
    QPointF lastPosition_;
    bool clickable_ = false;
    // The segment the pointer went down on; a release over the same one chooses it.
    std::optional<int> pressed_;
};

} // namespace tramix
