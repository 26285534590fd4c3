#include "VipsRuntime.h"

#include <mutex>
#include <vips/vips.h>

namespace tramix::VipsRuntime {

bool ensureStarted() {
    static std::once_flag once;
    static bool started = false;
    std::call_once(once, [] { started = vips_init("tramix") == 0; });
    return started;
}

} // namespace tramix::VipsRuntime
