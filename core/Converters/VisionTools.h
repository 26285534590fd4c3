// Text recognition and subject cut-out.
#pragma once

#include "../OutputContext.h"

namespace tramix::VisionTools {

QString recognizeText(const QString& input, const OutputContext& context);
QString removeBackground(const QString& input, const OutputContext& context);

} // namespace tramix::VisionTools
