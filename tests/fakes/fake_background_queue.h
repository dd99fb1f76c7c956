#pragma once

#include <deque>
#include <functional>

#include "platform/background_queue_port.h"

namespace brisel::testing {

// Runs background tasks at once on the caller's thread, or holds them until the test runs them
// (to let the user switch applications while a search is under way).
class FakeBackgroundQueue final : public BackgroundQueuePort {
public:
    bool runsAtOnce = true;
    std::deque<std::function<void()>> waiting;

    void run(std::function<void()> task) override {
        runsAtOnce ? task() : waiting.push_back(std::move(task));
    }
    bool runNext() {
        if (waiting.empty()) return false;
        auto task = std::move(waiting.front());
        waiting.pop_front();
        task();
        return true;
    }
};

}  // namespace brisel::testing
