// The crop editor's picture: the preview fitted to the widget, the area outside the frame
// dimmed, the frame with four corner handles, and a rule-of-thirds grid while it is dragged.
// Drags turn into the model's move and resize, in normalised coordinates.
#pragma once

#include "CropModel.h"

#include <QWidget>
#include <optional>

namespace tramix {

class CropCanvas : public QWidget {
    Q_OBJECT
public:
    explicit CropCanvas(CropModel& model, QWidget* parent = nullptr);

    // Where the preview is drawn, in widget coordinates; empty before it has loaded.
    QRectF imageRect() const;
    // The crop frame in widget coordinates.
    QRectF frameRect() const;

    void setDark(bool dark);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    std::optional<CropModel::Corner> cornerAt(QPointF point) const;
    void updateCursor(QPointF point);

    CropModel& model_;
    std::optional<QRectF> dragStart_;
    std::optional<CropModel::Corner> dragCorner_;
    QPointF pressedAt_;
    bool dark_ = false;
};

} // namespace tramix
