#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brisel {

// A running application as core knows it. The shell finds its own handle again by process
// identifier.
struct RunningApplication {
    int32_t processID = 0;
    std::optional<std::string> bundleID;  // absent when the application declares none

    bool operator==(const RunningApplication&) const = default;
};

// The applications on the desktop (NSWorkspace and NSRunningApplication on macOS). Main thread.
class RunningApplicationsPort {
public:
    virtual ~RunningApplicationsPort() = default;

    virtual std::optional<RunningApplication> frontmostApplication() const = 0;

    // In the system's order.
    virtual std::vector<RunningApplication> runningApplications(const std::string& bundleID) const = 0;

    // True once the process has ended (or is no longer the application it was).
    virtual bool isTerminated(const RunningApplication& application) const = 0;

    // Asks `application` to come to the front, without options. From macOS 14 on, the shell first
    // yields this application's activation to it and then asks it to activate from this one.
    virtual void activate(const RunningApplication& application) = 0;

    // This application's own bundle identifier.
    virtual std::optional<std::string> ownBundleID() const = 0;
};

}  // namespace brisel
