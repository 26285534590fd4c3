// When to ask a drag source for its files again. A busy source may drop a request, answer it
// late, refuse it until its drag has really begun, or answer before its data is ready; a drag is
// lost unless someone asks again. Each of these is followed by another request after a wait that
// doubles, within a budget per drag, so a source that never answers is not asked forever.
#pragma once

#include <chrono>

namespace tramix {

class DragDataRetry {
public:
    using Clock = std::chrono::steady_clock;

    // Requests per drag data; with the waits below that is about five seconds of asking.
    static constexpr int maxRequests = 12;
    // How long an unanswered request is given before it counts as dropped; it doubles with each
    // request up to the ceiling.
    static constexpr std::chrono::milliseconds firstAnswerWait{100};
    // How long to pause after a refusal or an answer without files.
    static constexpr std::chrono::milliseconds firstPause{30};
    static constexpr std::chrono::milliseconds longestWait{500};

    // New drag data: the budget starts afresh.
    void restart() { *this = {}; }
    bool mayAsk(Clock::time_point now) const;
    void asked(Clock::time_point now);
    // An answer came; with files in it nothing more is asked for this drag.
    void answered(Clock::time_point now, bool withFiles);

    int requests() const { return requests_; }
    bool done() const { return done_; }

private:
    int requests_ = 0;
    bool waiting_ = false; // the last request has had no answer yet
    bool done_ = false;
    Clock::time_point last_; // the last request, or the last answer when not waiting
};

} // namespace tramix
