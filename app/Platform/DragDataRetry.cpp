#include "DragDataRetry.h"

#include <algorithm>

namespace tramix {

namespace {

std::chrono::milliseconds doubled(std::chrono::milliseconds first, int times) {
    auto wait = first;
    for (int i = 0; i < times && wait < DragDataRetry::longestWait; ++i)
        wait *= 2;
    return std::min(wait, DragDataRetry::longestWait);
}

} // namespace

bool DragDataRetry::mayAsk(Clock::time_point now) const {
    if (done_ || requests_ >= maxRequests)
        return false;
    if (requests_ == 0)
        return true;
    const auto wait =
        waiting_ ? doubled(firstAnswerWait, requests_ - 1) : doubled(firstPause, requests_ - 1);
    return now - last_ >= wait;
}

void DragDataRetry::asked(Clock::time_point now) {
    ++requests_;
    waiting_ = true;
    last_ = now;
}

void DragDataRetry::answered(Clock::time_point now, bool withFiles) {
    waiting_ = false;
    done_ = done_ || withFiles;
    last_ = now;
}

} // namespace tramix
