// The transparent layer over the wheel drawing that takes the drag: it tracks the hovered
// segment, turns pages while the drag rests in the centre, and accepts a drop only on a segment.
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

private:
    void write(const QString& message) const;
    double now() const;

    WheelModel& model_;
    WheelGeometry geometry_;
    std::optional<double> centerHoverStart_;
    QElapsedTimer clock_;
    QTimer restTimer_;
    QPointF lastPosition_;
};

} // namespace tramix
