#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "platform/background_queue_port.h"

namespace brisel::gtk {

// One long-lived worker thread that runs tasks in the order they were given.
class WorkerQueue final : public BackgroundQueuePort {
public:
    WorkerQueue();
    // Lets the running task finish and joins; tasks not yet started are dropped, since their
    // owners are going away with the application.
    ~WorkerQueue() override;

    WorkerQueue(const WorkerQueue&) = delete;
    WorkerQueue& operator=(const WorkerQueue&) = delete;

    void run(std::function<void()> task) override;

private:
    void work();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> tasks_;
    bool stopping_ = false;
    std::thread thread_;  // last, so it starts after everything it uses
};

}  // namespace brisel::gtk
