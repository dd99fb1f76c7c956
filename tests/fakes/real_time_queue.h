#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>

#include "platform/main_queue.h"

namespace brisel::testing {

// A main queue on the real clock for tests that talk to real processes: the test thread plays
// the main thread and runs tasks as they fall due until its condition holds.
class RealTimeQueue final : public MainQueue {
public:
    Clock::time_point now() const override { return Clock::now(); }
    void post(std::function<void()> task) override { postAfter(Duration(0), std::move(task)); }
    void postAfter(Duration delay, std::function<void()> task) override {
        {
            std::lock_guard guard(mutex_);
            tasks_.emplace(std::make_pair(Clock::now() + delay, sequence_++), std::move(task));
        }
        wake_.notify_all();
    }

    // Runs due tasks until `done` holds or `limit` passes; returns whether `done` held.
    bool runUntil(const std::function<bool()>& done, Duration limit) {
        const auto deadline = Clock::now() + limit;
        while (!done()) {
            std::unique_lock lock(mutex_);
            const auto next = tasks_.empty() ? deadline : std::min(deadline, tasks_.begin()->first.first);
            wake_.wait_until(lock, next, [&] { return !tasks_.empty() && tasks_.begin()->first.first <= Clock::now(); });
            if (!tasks_.empty() && tasks_.begin()->first.first <= Clock::now()) {
                auto task = std::move(tasks_.extract(tasks_.begin()).mapped());
                lock.unlock();
                task();
            } else if (Clock::now() >= deadline) {
                lock.unlock();
                return done();
            }
        }
        return true;
    }

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    uint64_t sequence_ = 0;
    std::map<std::pair<Clock::time_point, uint64_t>, std::function<void()>> tasks_;
};

}  // namespace brisel::testing
