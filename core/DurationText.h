#pragma once

#include <QString>

namespace tramix {

// "340 ms" below one second (truncated), "2.4 s" from one second on.
QString durationText(double seconds);

} // namespace tramix
