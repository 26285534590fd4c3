#include "ParallelPages.h"

#include "JobRunner.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <semaphore>
#include <thread>
#include <vector>

namespace tramix::ParallelPages {

namespace {

// Threads beyond the callers' own come from one allowance for the whole process, so that
// documents worked on side by side by the job runner do not multiply the threads, and the page
// bitmaps they hold.
std::counting_semaphore<>& helpers() {
    static std::counting_semaphore<> allowance(std::max(1, JobRunner::width() - 1));
    return allowance;
}

// `held` helpers have been taken from the allowance already.
void runWith(int count, int threads, int held, const std::function<PageWork()>& prepare) {
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
        for (int i = 1; i < width && (i <= held || helpers().try_acquire()); ++i) {
            workers.emplace_back([&] {
                thread();
                helpers().release();
            });
        }
        thread();
    }
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace

void run(int count, int threads, const std::function<PageWork()>& prepare) {
    if (count > 0)
        runWith(count, threads, 0, prepare);
}

bool runIfHelped(int count, int threads, const std::function<PageWork()>& prepare) {
    if (count < 2 || threads < 2 || !helpers().try_acquire())
        return false;
    runWith(count, threads, 1, prepare);
    return true;
}

} // namespace tramix::ParallelPages
