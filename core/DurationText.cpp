#include "DurationText.h"

namespace tramix {

QString durationText(double seconds) {
    if (seconds < 1.0)
        return QString::number(static_cast<long long>(seconds * 1000.0)) + QStringLiteral(" ms");
    return QString::asprintf("%.1f s", seconds);
}

} // namespace tramix
