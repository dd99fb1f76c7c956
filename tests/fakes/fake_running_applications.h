#pragma once

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "platform/running_applications_port.h"

namespace brisel::testing {

// The desktop's applications; an application that quits leaves `running`. Activation does
// nothing by itself: `onActivate` decides when, or whether, the application comes forward.
class FakeRunningApplications final : public RunningApplicationsPort {
public:
    std::vector<RunningApplication> running;
    std::optional<int32_t> frontmostPID;
    std::vector<int32_t> activations;
    std::function<void(const RunningApplication&)> onActivate;

    void terminate(int32_t processID) {
        std::erase_if(running, [&](const auto& a) { return a.processID == processID; });
    }

    std::optional<RunningApplication> frontmostApplication() const override {
        const auto found = std::ranges::find_if(running, [&](const auto& a) { return a.processID == frontmostPID; });
        return found == running.end() ? std::nullopt : std::optional(*found);
    }
    std::vector<RunningApplication> runningApplications(const std::string& bundleID) const override {
        std::vector<RunningApplication> found;
        std::ranges::copy_if(running, std::back_inserter(found), [&](const auto& a) { return a.bundleID == bundleID; });
        return found;
    }
    bool isTerminated(const RunningApplication& application) const override {
        return std::ranges::find(running, application) == running.end();
    }
    void activate(const RunningApplication& application) override {
        activations.push_back(application.processID);
        if (onActivate) onActivate(application);
    }
    std::optional<std::string> ownBundleID() const override { return "app.brisel.Brisel"; }
};

}  // namespace brisel::testing
