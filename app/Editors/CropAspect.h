// The shapes a crop frame can be held to, in the order they are offered.
#pragma once

#include <QList>
#include <QSizeF>
#include <QString>
#include <optional>

namespace tramix {

enum class CropAspect { free, original, square, fourThree, threeTwo, sixteenNine, nineSixteen };

namespace CropAspects {

const QList<CropAspect>& all();
QString rawValue(CropAspect aspect);
// The label on its button: "Frei", "Original", "1:1", …
QString label(CropAspect aspect);
// Width ÷ height in pixels; none for `free`. `original` is the turned image's own shape.
std::optional<double> ratio(CropAspect aspect, QSizeF pixelSize);

} // namespace CropAspects

} // namespace tramix
