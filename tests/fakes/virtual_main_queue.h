#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <utility>

#include "platform/main_queue.h"

namespace brisel::testing {

// A main queue on virtual time: nothing runs until the test advances the clock, so a 36-probe
// start-up or a 60-second limit runs in microseconds and always the same way. Background
// threads may post to it.
class VirtualMainQueue : public MainQueue {
public:
    Clock::time_point now() const override { std::lock_guard guard(mutex_); return now_; }
    void post(std::function<void()> task) override { postAfter(Duration(0), std::move(task)); }
    void postAfter(Duration delay, std::function<void()> task) override {
        const auto due = now() + delay;  // the real clock's, in a subclass
        std::lock_guard guard(mutex_);
        tasks_.emplace(std::make_pair(due, sequence_++), std::move(task));
    }

    // Runs every task due up to now + `delay`, in time order, moving the clock as it goes.
    void advance(Duration delay) {
        const Clock::time_point until = now() + delay;
        while (auto task = takeDue(until)) task();
        std::lock_guard guard(mutex_);
        now_ = until;
    }
    void runUntilIdle() { advance(Duration(0)); }
    size_t pendingTasks() const { std::lock_guard guard(mutex_); return tasks_.size(); }

private:
    std::function<void()> takeDue(Clock::time_point until) {
        std::lock_guard guard(mutex_);
        if (tasks_.empty() || tasks_.begin()->first.first > until) return nullptr;
        auto node = tasks_.extract(tasks_.begin());
        now_ = std::max(now_, node.key().first);
        return std::move(node.mapped());
    }

    mutable std::mutex mutex_;
    Clock::time_point now_{};
    uint64_t sequence_ = 0;
    std::map<std::pair<Clock::time_point, uint64_t>, std::function<void()>> tasks_;
};

}  // namespace brisel::testing
