#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "worker_queue.h"

namespace brisel::gtk {
namespace {

TEST(WorkerQueue, RunsTasksInOrderOnOneThreadOffTheMainThread) {
    WorkerQueue queue;
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    std::promise<void> done;
    for (int i = 0; i < 50; ++i) {
        queue.run([&, i] {
            order.push_back(i);
            threads.push_back(std::this_thread::get_id());
        });
    }
    queue.run([&] { done.set_value(); });
    done.get_future().wait();

    ASSERT_EQ(order.size(), 50u);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(order[i], i);
    EXPECT_NE(threads.front(), std::this_thread::get_id());
    EXPECT_EQ(std::count(threads.begin(), threads.end(), threads.front()), 50);
}

TEST(WorkerQueue, DestructionDropsWaitingTasksAndWaitsForTheRunningOne) {
    std::promise<void> started;
    std::promise<void> release;
    bool finished = false;
    bool queuedRan = false;
    {
        WorkerQueue queue;
        queue.run([&, released = release.get_future().share()] {
            started.set_value();
            released.wait();
            finished = true;
        });
        // Only dropping the waiting task lets the running one go, so it finishes inside the
        // destructor.
        std::shared_ptr<void> releaser(nullptr, [&](void*) { release.set_value(); });
        queue.run([&, releaser] { queuedRan = true; });
        releaser.reset();
        started.get_future().wait();
    }
    EXPECT_TRUE(finished);
    EXPECT_FALSE(queuedRan);
}

}  // namespace
}  // namespace brisel::gtk
