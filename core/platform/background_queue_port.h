#pragma once

#include <functional>

namespace brisel {

// Work off the main thread: a global queue of user-initiated priority on macOS, a worker thread
// on Linux. The task hops back itself with MainQueue::post.
class BackgroundQueuePort {
public:
    virtual ~BackgroundQueuePort() = default;
    virtual void run(std::function<void()> task) = 0;
};

}  // namespace brisel
