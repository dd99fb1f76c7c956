#include "MacBackgroundQueue.h"

#include <dispatch/dispatch.h>

namespace brisel::mac {

void MacBackgroundQueue::run(std::function<void()> task) {
    dispatch_async(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), ^{
      task();
    });
}

}  // namespace brisel::mac
