#pragma once

namespace tramix::VipsRuntime {

// Starts libvips once per process, on first need only, so commands that touch no image pay
// nothing. False when it cannot start.
bool ensureStarted();

} // namespace tramix::VipsRuntime
