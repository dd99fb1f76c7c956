#pragma once

#include <algorithm>
#include <functional>
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

    void add(int32_t processID, std::optional<std::string> bundleID) {
        running.push_back({processID, std::move(bundleID)});
    }
    void terminate(int32_t processID) {
        std::erase_if(running, [&](const RunningApplication& application) { return application.processID == processID; });
    }

    std::optional<RunningApplication> frontmostApplication() const override {
        for (const auto& application : running) {
            if (application.processID == frontmostPID) return application;
        }
        return std::nullopt;
    }
    std::vector<RunningApplication> runningApplications(const std::string& bundleID) const override {
        std::vector<RunningApplication> found;
        for (const auto& application : running) {
            if (application.bundleID == bundleID) found.push_back(application);
        }
        return found;
    }
    bool isTerminated(const RunningApplication& application) const override {
        return std::find(running.begin(), running.end(), application) == running.end();
    }
    void activate(const RunningApplication& application) override {
        activations.push_back(application.processID);
        if (onActivate) onActivate(application);
    }
    std::optional<std::string> ownBundleID() const override { return "app.brisel.Brisel"; }
};

}  // namespace brisel::testing
