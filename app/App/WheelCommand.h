// `tramix --wheel <mode> <files…>`: asks the running tray app over the session bus to open a
// wheel for the files, starting the app first when none runs.
#pragma once

#include <QStringList>
#include <QTextStream>

namespace tramix::WheelCommand {

// Throws ConversionError with a German sentence when the wheel cannot be opened.
void run(const QStringList& args, QTextStream& out);

// How long a freshly started app may take to appear on the bus.
constexpr int startTimeoutMs = 20000;

} // namespace tramix::WheelCommand
