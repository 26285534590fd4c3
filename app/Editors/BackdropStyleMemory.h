// The backdrop style used last, kept in a small state file so the editor opens with it again.
#pragma once

#include "Image/BackdropStyle.h"

#include <QString>

namespace tramix::BackdropStyleMemory {

// What the editor starts with before anything was remembered: a soft preset, a moderate margin,
// slightly rounded corners and a light shadow.
BackdropStyle defaultStyle();

// The style stored last, or the default one.
BackdropStyle last();
void remember(const BackdropStyle& style);

// The fill as one word: "gradient:sky", "solid:#ffffffff", "none"; and back.
QString fillText(const BackdropStyle::Fill& fill);
std::optional<BackdropStyle::Fill> fillFromText(const QString& text);

} // namespace tramix::BackdropStyleMemory
