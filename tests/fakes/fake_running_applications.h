#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/running_applications_port.h"

namespace brisel::testing {

// The desktop's applications. Activation does nothing by itself: `onActivate` decides when,
// or whether, the application comes to the front.
class FakeRunningApplications final : public RunningApplicationsPort {
public:
    struct Entry {
        RunningApplication application;
        bool terminated = false;
    };
    std::vector<Entry> entries;
    std::optional<int32_t> frontmostPID;
    std::optional<std::string> own = "app.brisel.Brisel";
    std::vector<int32_t> activations;
    std::function<void(const RunningApplication&)> onActivate;

    RunningApplication add(int32_t processID, std::optional<std::string> bundleID) {
        entries.push_back({{processID, std::move(bundleID)}, false});
        return entries.back().application;
    }

    void terminate(int32_t processID) {
        for (auto& entry : entries) {
            if (entry.application.processID == processID) entry.terminated = true;
        }
        if (frontmostPID == processID) frontmostPID.reset();
    }

    std::optional<RunningApplication> frontmostApplication() const override {
        if (!frontmostPID) return std::nullopt;
        for (const auto& entry : entries) {
            if (entry.application.processID == *frontmostPID && !entry.terminated) return entry.application;
        }
        return std::nullopt;
    }

    std::vector<RunningApplication> runningApplications(const std::string& bundleID) const override {
        std::vector<RunningApplication> found;
        for (const auto& entry : entries) {
            if (!entry.terminated && entry.application.bundleID == bundleID) found.push_back(entry.application);
        }
        return found;
    }

    bool isTerminated(const RunningApplication& application) const override {
        for (const auto& entry : entries) {
            if (entry.application == application) return entry.terminated;
        }
        return true;
    }

    void activate(const RunningApplication& application) override {
        activations.push_back(application.processID);
        if (onActivate) onActivate(application);
    }

    std::optional<std::string> ownBundleID() const override { return own; }
};

}  // namespace brisel::testing
