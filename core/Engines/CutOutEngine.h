// What the subject cut-out library (OpenCV) does for the catalogue. It is apart from text
// recognition so that one never maps the other.
#pragma once

#include "OutputContext.h"

namespace tramix {

struct CutOutEngine {
    static constexpr const char* module = "tramix-cutout";
    static constexpr const char* entry = "tramixCutOutEngine";

    QString (*removeBackground)(const QString& input, const OutputContext& context);
};

} // namespace tramix
