#pragma once

#include "platform/main_queue.h"

namespace brisel::gtk {

// The GLib default main context as core's main queue; GLib's idle and timeout sources are safe
// to add from any thread.
class GlibMainQueue final : public MainQueue {
public:
    Clock::time_point now() const override { return Clock::now(); }
    void post(std::function<void()> task) override;
    void postAfter(Duration delay, std::function<void()> task) override;
};

}  // namespace brisel::gtk
