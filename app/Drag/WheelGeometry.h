// The wheel's fixed dimensions, the hit test that turns a pointer position into a segment, and
// the outline and label positions the view draws from.
#pragma once

#include <QPainterPath>
#include <QPointF>
#include <QRectF>

namespace tramix {

struct WheelZone {
    enum Kind { center, outside, segment };
    Kind kind = outside;
    int index = -1; // only for a segment

    static WheelZone centerZone() { return {center, -1}; }
    static WheelZone outsideZone() { return {outside, -1}; }
    static WheelZone segmentZone(int index) { return {segment, index}; }
    bool operator==(const WheelZone&) const = default;
};

struct WheelGeometry {
    double size = 300;
    double outerRadius = 128;
    double innerRadius = 60;
    double centerRadius = 52;
    double gap = 5;
    double corner = 7;

    // The rim beyond the drawn edge that still counts as the ring, so aiming need not be exact.
    static constexpr double rimAllowance = 18;
    static constexpr int operationsPerPage = 8;

    // A page with fewer than four operations still draws four segments, so it reads as a ring.
    static int slots(int pageOperationCount);

    // `at` is relative to the wheel's centre; segment 0 is centred straight up, counting clockwise.
    WheelZone zone(QPointF at, int slots, bool yUp) const;

    double labelRadius() const { return (innerRadius + outerRadius) / 2; }
    // The label centre of slot `index`, in view coordinates (y down, origin top left).
    QPointF labelCenter(int index, int slots) const;
};

// One ring segment in `rect` (y down): the gap between neighbours has a constant width, not a
// constant angle, so the edges stay parallel.
struct SegmentShape {
    int index = 0;
    int count = 1;
    double inner = 60;
    double outer = 128;
    double gap = 5;

    QPainterPath path(const QRectF& rect) const;
};

} // namespace tramix
