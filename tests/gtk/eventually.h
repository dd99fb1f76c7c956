#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace brisel::gtk::testing {

// Polls a condition that no main-loop event announces (another process, a bus) for at most `limit`.
inline bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    for (const auto deadline = std::chrono::steady_clock::now() + limit; !condition(); std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
    }
    return true;
}

}  // namespace brisel::gtk::testing
