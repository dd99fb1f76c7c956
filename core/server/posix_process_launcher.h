#pragma once

#include "platform/process_launcher.h"
#include "server/server_launch.h"

namespace brisel {

// posix_spawn with the null device on all three standard streams and nothing else inherited. Works the same on macOS and
// Linux, so the launch that tests exercise is the one users get.
class PosixProcessLauncher final : public ProcessLauncher {
public:
    std::unique_ptr<ChildProcess> launch(const ChildProcessSpec& launchRequest) override;
};

// This process's environment as a map.
Environment currentEnvironment();

}  // namespace brisel
