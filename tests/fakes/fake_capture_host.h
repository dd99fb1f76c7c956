#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "capture/capture_host.h"

namespace brisel::testing {

// The companion's side of a capture: records what the capture asked for, in order.
class FakeCaptureHost final : public CaptureHost {
public:
    bool ready = true;
    bool active = true;
    bool panelKey = true;
    std::vector<nlohmann::json> events;                // dispatched native events
    std::vector<std::optional<std::string>> statuses;  // sendStatus arguments
    std::vector<std::string> calls;                    // "showPanel", "status", "status: <error>", "event: <type>"...
    std::function<void(const std::string& call)> onCall;

    bool pageReady() const override { return ready; }

    void dispatch(NativeEvent event) override {
        record("event: " + event.value("type", std::string()));
        events.push_back(std::move(event));
    }

    void sendStatus(const std::optional<std::string>& error) override {
        statuses.push_back(error);
        record(error ? "status: " + *error : "status");
    }

    void showPanel() override { record("showPanel"); }
    void orderOutPanel() override { record("orderOutPanel"); }
    void invalidateSignIn() override { record("invalidateSignIn"); }
    bool applicationIsActive() const override { return active; }
    bool panelIsKeyWindow() const override { return panelKey; }

    std::vector<std::string> eventTypes() const {
        std::vector<std::string> types;
        for (const auto& event : events) types.push_back(event.value("type", std::string()));
        return types;
    }

    void forget() {
        events.clear();
        statuses.clear();
        calls.clear();
    }

private:
    void record(std::string call) {
        calls.push_back(call);
        if (onCall) onCall(call);
    }
};

}  // namespace brisel::testing
