#include "VipsRuntime.h"

#include "JobRunner.h"

#include <QThread>
#include <algorithm>
#include <mutex>
#include <vips/vips.h>

namespace tramix::VipsRuntime {

bool ensureStarted() {
    static std::once_flag once;
    static bool started = false;
    std::call_once(once, [] {
        // libvips' warnings (an ignored colour box, a damaged trailer) would land on the
        // terminal of every command; what matters reaches the user as an error.
        if (qEnvironmentVariableIsEmpty("VIPS_WARNING"))
            qputenv("VIPS_WARNING", "0");
        started = vips_init("tramix") == 0;
        if (!started)
            return;
        // Every job streams its own file once; a cache of earlier operations only holds memory.
        vips_cache_set_max(0);
        // The job runner already keeps every core busy with whole files; libvips' own worker
        // threads on top of that would only fight over the same cores.
        if (qEnvironmentVariableIsEmpty("VIPS_CONCURRENCY")) {
            const int cores = QThread::idealThreadCount();
            vips_concurrency_set(std::max(1, cores / JobRunner::width(cores)));
        }
    });
    return started;
}

} // namespace tramix::VipsRuntime
