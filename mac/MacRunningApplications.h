#pragma once

#include "platform/running_applications_port.h"

namespace brisel::mac {

// NSWorkspace and NSRunningApplication; an application is found again by process identifier.
class MacRunningApplications final : public RunningApplicationsPort {
public:
    std::optional<RunningApplication> frontmostApplication() const override;
    std::vector<RunningApplication> runningApplications(const std::string& bundleID) const override;
    bool isTerminated(const RunningApplication& application) const override;
    void activate(const RunningApplication& application) override;
    std::optional<std::string> ownBundleID() const override;
};

}  // namespace brisel::mac
