#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "capture/capture_host.h"
#include "capture/kindle_capture.h"
#include "fakes/fake_background_queue.h"
#include "fakes/fake_kindle_accessibility.h"
#include "fakes/fake_pasteboard.h"
#include "fakes/fake_running_applications.h"
#include "fakes/virtual_main_queue.h"

namespace brisel::testing {

inline std::string kindleCopyOf(const std::string& passage) { return passage + "\n\nDoe, Jane. A Title (p. 12). Kindle Edition."; }

// The companion's side of a capture: `calls` in order ("showPanel", "orderOutPanel",
// "invalidateSignIn", "status", "status: <error>", "event: <type>"), and the events themselves.
class FakeCaptureHost final : public CaptureHost {
public:
    bool ready = true, active = true, panelKey = true;  // page loaded, application active, panel key window
    std::vector<std::string> calls;
    std::vector<nlohmann::json> events;
    std::function<void(const std::string& call)> onCall;

    bool pageReady() const override { return ready; }
    void dispatch(NativeEvent event) override {
        events.push_back(event);
        record("event: " + event.value("type", std::string()));
    }
    void sendStatus(const std::optional<std::string>& error) override { record(error ? "status: " + *error : "status"); }
    void showPanel() override { record("showPanel"); }
    void orderOutPanel() override { record("orderOutPanel"); }
    void invalidateSignIn() override { record("invalidateSignIn"); }
    bool applicationIsActive() const override { return active; }
    bool panelIsKeyWindow() const override { return panelKey; }

private:
    void record(std::string call) {
        calls.push_back(std::move(call));
        if (onCall) onCall(calls.back());
    }
};

// A capture on virtual time: Kindle (pid 501) in front, the companion (4242) and an editor (777)
// running, the user's clipboard holding a note in two types and an image. Kindle's Copy answers
// `pressResult` and writes `copied` (none: nothing) during the press, or `copyDelay` after it.
struct KindleCaptureHarness {
    static constexpr int32_t kindlePID = 501, companionPID = 4242, editorPID = 777;

    VirtualMainQueue queue;
    FakeBackgroundQueue background;
    FakePasteboard pasteboard;
    FakeAccessibility accessibility;
    FakeRunningApplications applications;
    FakeCaptureHost host;
    FakeKindle kindle;
    int32_t pressResult = 0;
    std::optional<std::string> copied = kindleCopyOf("Some passage.");
    std::optional<Duration> copyDelay;
    std::unique_ptr<BriselKindleCapture> capture = std::make_unique<BriselKindleCapture>(
        KindleCapturePorts{queue, background, pasteboard, accessibility, applications}, host);

    KindleCaptureHarness() {
        applications.running = {
            {companionPID, "app.brisel.Brisel"}, {kindlePID, "com.amazon.Lassen"}, {editorPID, "org.example.editor"}};
        applications.frontmostPID = kindlePID;
        accessibility.applications[kindlePID] = kindle.application;
        kindle.menuCopy->press = kindle.toolbarCopy->press = [this] {
            const auto write = [this, text = copied] { if (text) pasteboard.replace(plainText(*text), "kindle"); };
            copyDelay ? queue.postAfter(*copyDelay, write) : write();
            return pressResult;
        };
        pasteboard.contents = {{{"public.utf8-plain-text", "the user's note"}, {"public.rtf", "{\\rtf1 the user's note}"}},
                               {{"public.png", std::string("\x89PNG\r\n\x1a\n\0\xff", 10)}}};
    }

    // Asks for a capture and lets `time` pass.
    void request(Duration time = Duration(5000)) {
        capture->requestCaptureFromKindle();
        queue.advance(time);
    }

    // "selection", or the sentence of the one status that ended the capture.
    std::string outcome() const {
        std::vector<std::string> statuses;
        for (const auto& call : host.calls) {
            if (call.starts_with("status")) statuses.push_back(call == "status" ? "selection" : call.substr(8));
        }
        return statuses.size() == 1 ? statuses[0] : std::to_string(statuses.size()) + " outcomes";
    }

    // An application asked to come forward does so `delay` later (none: never).
    void activationTakes(std::optional<Duration> delay) {
        applications.onActivate = [this, delay](const RunningApplication& application) {
            if (delay) queue.postAfter(*delay, [this, pid = application.processID] { applications.frontmostPID = pid; });
        };
    }
};

}  // namespace brisel::testing
