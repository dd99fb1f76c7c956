#include "worker_queue.h"

#include <utility>

namespace brisel::gtk {

WorkerQueue::WorkerQueue() : thread_([this] { work(); }) {}

WorkerQueue::~WorkerQueue() {
    std::deque<std::function<void()>> dropped;
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        dropped.swap(tasks_);
    }
    // Released before the wait, outside the lock: what they hold may be what the running task
    // waits for.
    dropped.clear();
    wake_.notify_one();
    thread_.join();
}

void WorkerQueue::run(std::function<void()> task) {
    {
        std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    wake_.notify_one();
}

void WorkerQueue::work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
        if (stopping_) return;
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

}  // namespace brisel::gtk
