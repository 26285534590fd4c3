// What the text recognition library (Tesseract) does for the catalogue.
#pragma once

#include "OutputContext.h"

namespace tramix {

struct TextEngine {
    static constexpr const char* module = "tramix-text";
    static constexpr const char* entry = "tramixTextEngine";

    QString (*recognizeText)(const QString& input, const OutputContext& context);
};

} // namespace tramix
