#include "MacMainQueue.h"

#include <dispatch/dispatch.h>

namespace brisel::mac {

void MacMainQueue::post(std::function<void()> task) {
    dispatch_async(dispatch_get_main_queue(), ^{
      task();
    });
}

void MacMainQueue::postAfter(Duration delay, std::function<void()> task) {
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(delay).count();
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), dispatch_get_main_queue(), ^{
      task();
    });
}

}  // namespace brisel::mac
