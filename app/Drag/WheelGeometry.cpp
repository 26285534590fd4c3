#include "WheelGeometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tramix {

namespace {

constexpr double twoPi = 2 * std::numbers::pi;

QPointF polar(QPointF center, double radius, double angle) {
    return {center.x() + radius * std::sin(angle), center.y() - radius * std::cos(angle)};
}

} // namespace

int WheelGeometry::slots(int pageOperationCount) {
    return std::max(4, std::min(operationsPerPage, pageOperationCount));
}

WheelZone WheelGeometry::zone(QPointF at, int slots, bool yUp) const {
    const double dy = yUp ? at.y() : -at.y();
    const double r = std::hypot(at.x(), dy);
    if (r <= innerRadius)
        return WheelZone::centerZone();
    if (r > outerRadius + rimAllowance || slots <= 0)
        return WheelZone::outsideZone();
    double angle = std::atan2(at.x(), dy);
    if (angle < 0)
        angle += twoPi;
    const double step = twoPi / slots;
    const int index = static_cast<int>(std::floor((angle + step / 2) / step)) % slots;
    return WheelZone::segmentZone(index);
}

QPointF WheelGeometry::labelCenter(int index, int slots) const {
    const double angle = index * twoPi / std::max(slots, 1);
    return polar({size / 2, size / 2}, labelRadius(), angle);
}

QPainterPath SegmentShape::path(const QRectF& rect) const {
    constexpr int pieces = 40;
    const QPointF center = rect.center();
    const double step = twoPi / std::max(count, 1);
    const double start = index * step - step / 2;
    const double end = index * step + step / 2;
    const double outerCut = (gap / 2) / outer;
    const double innerCut = (gap / 2) / inner;
    const double outerStart = start + outerCut, outerEnd = end - outerCut;
    const double innerStart = start + innerCut, innerEnd = end - innerCut;

    QPainterPath path(polar(center, outer, outerStart));
    for (int i = 1; i <= pieces; ++i)
        path.lineTo(polar(center, outer, outerStart + (outerEnd - outerStart) * i / pieces));
    path.lineTo(polar(center, inner, innerEnd));
    for (int i = 1; i <= pieces; ++i)
        path.lineTo(polar(center, inner, innerEnd - (innerEnd - innerStart) * i / pieces));
    path.closeSubpath();
    return path;
}

} // namespace tramix
