#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace brisel {

struct ChildProcessSpec {
    std::string executable;
    std::vector<std::string> arguments;  // without the executable itself
    std::string directory;
    std::map<std::string, std::string> environment;  // the whole environment of the child
};

class ChildProcess {
public:
    virtual ~ChildProcess() = default;
    virtual bool isRunning() = 0;
    virtual void terminate() = 0;  // SIGTERM; the child is reaped, never waited for on the main thread
};

class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;
    // Starts the child with standard input, output and error on the null device and no other
    // descriptor of this process. A child that exits by itself is collected, never left a zombie.
    // Returns null when the process could not be started.
    virtual std::unique_ptr<ChildProcess> launch(const ChildProcessSpec& launchRequest) = 0;
};

}  // namespace brisel
