// "Bild 2 von 3" while an editor works through several images.
#pragma once

#include "Settings/UILanguage.h"

#include <QString>
#include <algorithm>
#include <optional>

namespace tramix {

// None for a single image; `index` past the end counts as the last one.
inline std::optional<QString> imageProgress(int index, qsizetype count) {
    if (count < 2)
        return std::nullopt;
    const qsizetype shown = std::min<qsizetype>(index, count - 1) + 1;
    return UILanguage::text(QStringLiteral("Bild %1 von %2"), QStringLiteral("Image %1 of %2"))
        .arg(shown)
        .arg(count);
}

} // namespace tramix
