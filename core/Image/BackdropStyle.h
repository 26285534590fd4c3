// How a backdrop looks: what fills the canvas, the margin, the image's corners, its shadow and
// the canvas's shape.
#pragma once

#include "GradientPreset.h"
#include "RGBA.h"

#include <optional>
#include <variant>

namespace tramix {

struct BackdropStyle {
    // A gradient, one colour, or nothing (transparent).
    using Fill = std::variant<std::monostate, GradientPreset, RGBA>;

    Fill fill;
    double padding = 0;      // the margin on each side, as a fraction of the image's longer side
    double cornerRadius = 0; // as a fraction of the image's shorter side
    double shadow = 0;       // strength; 0 is none
    std::optional<double> aspect; // the canvas's width ÷ height; none keeps the padded shape

    bool operator==(const BackdropStyle&) const = default;
};

} // namespace tramix
