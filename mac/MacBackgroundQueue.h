#pragma once

#include "platform/background_queue_port.h"

namespace brisel::mac {

// The global queue of user-initiated priority: the accessibility search runs there.
class MacBackgroundQueue final : public BackgroundQueuePort {
public:
    void run(std::function<void()> task) override;
};

}  // namespace brisel::mac
