#pragma once

#include "platform/main_queue.h"

namespace brisel::mac {

// The main dispatch queue, which AppKit's run loop drains.
class MacMainQueue final : public MainQueue {
public:
    Clock::time_point now() const override { return Clock::now(); }
    void post(std::function<void()> task) override;
    void postAfter(Duration delay, std::function<void()> task) override;
};

}  // namespace brisel::mac
