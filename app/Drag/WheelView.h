// The wheel's drawing: a plate, the ring of segments with their labels, and the centre disc.
// The widget repaints from its model and animates opening and closing; `paint` also serves the
// off-screen renderings.
#pragma once

#include "WheelGeometry.h"
#include "WheelModel.h"

#include <QColor>
#include <QImage>
#include <QVariantAnimation>
#include <QWidget>

namespace tramix {

struct WheelPalette {
    QColor plate, plateEdge, segment, segmentEdge, emptySegment, text, secondaryText, center,
        accent;
    static WheelPalette light();
    static WheelPalette dark();
};

// The label of one segment: symbol above title in the tools and actions wheels, the title alone
// (larger for short format names) in the convert wheel.
struct SegmentLabel {
    FileOperation op;
    WheelMode mode = WheelMode::convert;
    bool highlighted = false;

    void paint(QPainter& painter, QPointF center, const WheelPalette& palette) const;
};

class WheelView : public QWidget {
    Q_OBJECT
public:
    WheelView(WheelModel& model, const WheelGeometry& geometry, QWidget* parent = nullptr);

    // Without a compositor the plate is drawn opaque and the window is cut to it by a mask.
    void setOpaque(bool opaque);
    double appearance() const { return appearance_; }

    // Draws the whole wheel into a `geometry.size` square at the painter's origin; `appearance`
    // runs from 0 (closed) to 1 (open).
    static void paint(QPainter& painter, const WheelModel& model, const WheelGeometry& geometry,
                      const WheelPalette& palette, double appearance, bool opaque);
    // The wheel drawn off screen at `scale` device pixels per point, on a clear background.
    static QImage render(const WheelModel& model, bool dark, double scale = 2);
    // The radius of the drawn plate, which a mask must keep.
    static double plateRadius(const WheelGeometry& geometry);

Q_SIGNALS:
    void appearanceChanged(double appearance);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void followVisibility();

    WheelModel& model_;
    WheelGeometry geometry_;
    bool opaque_ = false;
    bool shownVisible_ = false;
    double appearance_ = 0;
    QVariantAnimation animation_;
};

} // namespace tramix
