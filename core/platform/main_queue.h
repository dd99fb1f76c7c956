#pragma once

#include <chrono>
#include <functional>

namespace brisel {

using Clock = std::chrono::steady_clock;
using Duration = std::chrono::milliseconds;

// The main thread's run loop. Everything in core runs on it; polls and retries reschedule
// themselves here instead of sleeping. `post` and `postAfter` may be called from any thread.
class MainQueue {
public:
    virtual ~MainQueue() = default;
    virtual Clock::time_point now() const = 0;
    virtual void post(std::function<void()> task) = 0;
    virtual void postAfter(Duration delay, std::function<void()> task) = 0;
};

}  // namespace brisel
