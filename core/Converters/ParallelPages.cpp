#include "ParallelPages.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace tramix::ParallelPages {

void run(int count, int threads, const std::function<PageWork()>& prepare) {
    if (count < 1)
        return;
    std::atomic<int> next = 0;
    std::atomic<bool> stopped = false;
    std::exception_ptr failure;
    std::mutex failureLock;
    auto thread = [&] {
        try {
            const PageWork work = prepare();
            for (int index = next++; index < count && !stopped; index = next++)
                work(index);
        } catch (...) {
            std::lock_guard guard(failureLock);
            if (!failure)
                failure = std::current_exception();
            stopped = true;
        }
    };
    const int width = std::clamp(std::min(threads, count), 1, 64);
    {
        std::vector<std::jthread> workers;
        workers.reserve(width - 1);
        for (int i = 1; i < width; ++i)
            workers.emplace_back(thread);
        thread();
    }
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace tramix::ParallelPages
