#pragma once

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "capture/capture_host.h"
#include "capture/kindle_capture.h"
#include "fakes/virtual_main_queue.h"
#include "platform/accessibility_port.h"
#include "platform/background_queue_port.h"
#include "platform/pasteboard_port.h"
#include "platform/running_applications_port.h"

// The capture's ports as fakes, and a capture over them on virtual time.
namespace brisel::testing {

struct FakeAXNode;
using FakeAXNodePtr = std::shared_ptr<FakeAXNode>;
using FakeAXValue = std::variant<std::string, double, FakeAXNodePtr, std::vector<FakeAXNodePtr>>;

// One element of a fake tree, named for the call log; an absent attribute is a failed read.
struct FakeAXNode {
    std::string name;
    std::map<std::string, FakeAXValue> attributes;
    std::function<int32_t()> press = [] { return 0; };
};

inline FakeAXNodePtr axNode(std::string name, std::map<std::string, FakeAXValue> attributes,
                            std::vector<FakeAXNodePtr> children = {}) {
    if (!children.empty()) attributes["AXChildren"] = std::move(children);
    return std::make_shared<FakeAXNode>(FakeAXNode{std::move(name), std::move(attributes)});
}
// An enabled button or menu item.
inline FakeAXNodePtr axControl(std::string name, std::string role, std::string title) {
    return axNode(std::move(name), {{"AXRole", std::move(role)}, {"AXTitle", std::move(title)}, {"AXEnabled", 1.0}});
}
inline AccessibilityElement axElement(const FakeAXNodePtr& node) { return AccessibilityElement(node); }

// Every call lands in `calls` ("trusted?", "application 501", "timeout Kindle 150", "window.AXRole",
// "menu copy AXPress"...); `onCall` sees it first, to make Kindle slow or note the clipboard then.
// Only the applications given exist.
class FakeAccessibility final : public AccessibilityPort {
public:
    std::map<int32_t, FakeAXNodePtr> applications;
    bool trusted = true;
    std::vector<std::string> calls;
    std::function<void(const std::string& call)> onCall;

    bool isProcessTrusted(bool prompt) override {
        log(prompt ? "trusted? prompt" : "trusted?");
        return trusted;
    }
    AccessibilityElement applicationElement(int32_t processID) override {
        log("application " + std::to_string(processID));
        return axElement(applications.at(processID));
    }
    void setMessagingTimeout(const AccessibilityElement& element, Duration timeout) override {
        log("timeout " + node(element).name + " " + std::to_string(timeout.count()));
    }
    std::optional<std::string> stringAttribute(const AccessibilityElement& of, const std::string& name) override {
        return read<std::string>(of, name);
    }
    std::optional<double> numberAttribute(const AccessibilityElement& of, const std::string& name) override {
        return read<double>(of, name);
    }
    std::optional<AccessibilityElement> elementAttribute(const AccessibilityElement& of, const std::string& name) override {
        const auto node = read<FakeAXNodePtr>(of, name);
        return node ? std::optional(axElement(*node)) : std::nullopt;
    }
    std::optional<std::vector<AccessibilityElement>> elementsAttribute(const AccessibilityElement& of,
                                                                       const std::string& name) override {
        const auto nodes = read<std::vector<FakeAXNodePtr>>(of, name);
        return nodes ? std::optional(std::vector<AccessibilityElement>(nodes->begin(), nodes->end())) : std::nullopt;
    }
    int32_t performAction(const AccessibilityElement& element, const std::string& action) override {
        log(node(element).name + " " + action);
        return node(element).press();
    }

private:
    static FakeAXNode& node(const AccessibilityElement& of) { return *static_cast<FakeAXNode*>(const_cast<void*>(of.get())); }
    void log(std::string call) {
        if (onCall) onCall(call);
        calls.push_back(std::move(call));
    }
    template <typename T>
    std::optional<T> read(const AccessibilityElement& element, const std::string& name) {
        log(node(element).name + "." + name);
        const auto& attributes = node(element).attributes;
        const auto found = attributes.find(name);
        if (found == attributes.end() || !std::holds_alternative<T>(found->second)) return std::nullopt;
        return std::get<T>(found->second);
    }
};

// Kindle as a capture meets it: a book window with a toolbar, and Copy in the Edit menu of the
// menu bar; `addToolbarCopy` puts a Copy button in the toolbar.
struct FakeKindle {
    FakeAXNodePtr menuCopy = axControl("menu copy", "AXMenuItem", "コピー");
    FakeAXNodePtr toolbarCopy = axControl("toolbar copy", "AXButton", "コピー");
    FakeAXNodePtr toolbar = axNode("toolbar", {}, {axControl("highlight", "AXButton", "ハイライト")});
    FakeAXNodePtr editMenu = axNode("edit menu", {}, {axControl("undo", "AXMenuItem", "取り消す"), menuCopy});
    FakeAXNodePtr application = axNode(
        "Kindle", {{"AXFocusedWindow", axNode("window", {}, {toolbar})}, {"AXMenuBar", axNode("menu bar", {}, {editMenu})}});

    void addToolbarCopy() {
        std::get<std::vector<FakeAXNodePtr>>(toolbar->attributes["AXChildren"]).push_back(toolbarCopy);
    }
};

// Runs background tasks at once on the caller's thread, or holds them until the test runs them
// (to let the user switch applications while a search is under way).
class FakeBackgroundQueue final : public BackgroundQueuePort {
public:
    bool runsAtOnce = true;
    std::vector<std::function<void()>> held;

    void run(std::function<void()> task) override { runsAtOnce ? task() : held.push_back(std::move(task)); }
    void runHeld() { for (auto tasks = std::exchange(held, {}); auto& task : tasks) task(); }
};

// The desktop's applications; an application that quits leaves `running`. Activation does
// nothing by itself: `onActivate` decides when, or whether, the application comes forward.
class FakeRunningApplications final : public RunningApplicationsPort {
public:
    std::vector<RunningApplication> running;
    std::optional<int32_t> frontmostPID;
    std::vector<int32_t> activations;
    std::function<void(const RunningApplication&)> onActivate;

    void terminate(int32_t processID) { std::erase_if(running, [&](const auto& a) { return a.processID == processID; }); }

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

// Items of (type, bytes) pairs; no bytes for a promised type whose owner cannot produce the data.
using FakePasteboardContents = std::vector<std::vector<std::pair<std::string, std::optional<std::string>>>>;

inline FakePasteboardContents plainText(const std::string& text) { return {{{"public.utf8-plain-text", text}}}; }

// The general pasteboard in memory. `log` names every change in order: the writer `replace` was
// given (Kindle, other programs), "clear" and "write" for the capture's own. `beforeRead` runs
// before every read ("changeCount", "items", "text"), for a write between two reads. Reads
// answer at once, as on macOS; `ownerRefuses` is an owner that will not say what it holds.
class FakePasteboard final : public PasteboardPort {
public:
    FakePasteboardContents contents;
    int64_t count = 1;
    std::vector<std::string> log;
    std::function<void(const std::string& read)> beforeRead;
    bool ownerRefuses = false;

    void replace(FakePasteboardContents newContents, std::string writer) {
        contents = std::move(newContents);
        ++count;
        log.push_back(std::move(writer));
    }

    int64_t changeCount() const override {
        if (beforeRead) beforeRead("changeCount");
        return count;
    }
    void readItems(Clock::time_point, std::function<void(ItemsRead)> completion) override {
        if (beforeRead) beforeRead("items");
        if (ownerRefuses) return completion(std::nullopt);
        std::vector<PasteboardReadItem> items;
        for (const auto& item : contents) {
            auto& read = items.emplace_back();
            for (const auto& [type, bytes] : item)
                read.push_back({type, bytes ? std::optional(PasteboardData(*bytes)) : std::nullopt});
        }
        completion(std::move(items));
    }
    void readPlainText(Clock::time_point, std::function<void(TextRead)> completion) override {
        if (beforeRead) beforeRead("text");
        for (const auto& item : contents)
            for (const auto& [type, bytes] : item)
                if (type == "public.utf8-plain-text") return completion(bytes);
        completion(std::nullopt);
    }
    void clear() override { replace({}, "clear"); }
    bool write(const std::vector<PasteboardItem>& items) override {
        for (const auto& item : items) {
            auto& stored = contents.emplace_back();
            for (const auto& [type, data] : item) stored.push_back({type, std::string(data.bytes())});
        }
        log.push_back("write");
        return true;
    }
};

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
        kindle.menuCopy->press = [this] {
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
        for (const auto& call : host.calls)
            if (call.starts_with("status")) statuses.push_back(call == "status" ? "selection" : call.substr(8));
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
