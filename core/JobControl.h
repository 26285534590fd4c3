// How a running job is stopped from outside: the job centre trips it, converters and the runner
// look at it between steps and while their tools run.
#pragma once

#include <atomic>

namespace tramix {

class JobControl {
public:
    void cancel() noexcept { cancelled_.store(true); }
    bool isCancelled() const noexcept { return cancelled_.load(); }

    // Throws ConversionError::cancelled once the job was cancelled.
    void throwIfCancelled() const;

private:
    std::atomic<bool> cancelled_ = false;
};

} // namespace tramix
