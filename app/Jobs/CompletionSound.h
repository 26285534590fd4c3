// The short sound of a finished job: the desktop sound theme's "complete" event. Where no sound
// system or theme is there, it stays silent.
#pragma once

struct ca_context;

namespace tramix {

class CompletionSound {
public:
    CompletionSound() = default;
    ~CompletionSound();
    CompletionSound(const CompletionSound&) = delete;
    CompletionSound& operator=(const CompletionSound&) = delete;

    // Starts the sound and returns at once; false when it could not be started.
    bool play();

private:
    ca_context* context_ = nullptr;
    bool unavailable_ = false;
};

} // namespace tramix
