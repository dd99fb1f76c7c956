#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fakes/page_script_runner.h"
#include "platform/application_port.h"
#include "platform/http_client.h"
#include "platform/panel_port.h"
#include "platform/process_launcher.h"
#include "platform/web_view_port.h"
#include "platform/workspace_port.h"

namespace brisel::testing {

// Answers each GET on the main queue with `answer(url)`; where that is none, the request fails
// only when its time-out ends it, as with a listener that never says a word.
class FakeHttpClient final : public HttpClient {
public:
    explicit FakeHttpClient(MainQueue& mainQueue) : queue(mainQueue) {}
    MainQueue& queue;
    std::function<std::optional<HttpResponse>(const std::string&)> answer = [](auto&) { return std::nullopt; };
    std::vector<std::string> requests;

    void get(const std::string& url, Duration timeout, std::function<void(std::optional<HttpResponse>)> completion) override {
        requests.push_back(url);
        auto response = answer(url);
        queue.postAfter(response ? Duration(0) : timeout, [=] { completion(response); });
    }
};

// Records each launch; the one server it pretends to start runs until terminated.
class FakeProcessLauncher final : public ProcessLauncher {
public:
    bool fails = false, terminated = false;
    std::vector<ChildProcessSpec> launches;

    std::unique_ptr<ChildProcess> launch(const ChildProcessSpec& request) override {
        launches.push_back(request);
        struct Child final : ChildProcess {
            bool& terminated;
            explicit Child(bool& t) : terminated(t) {}
            bool isRunning() override { return !terminated; }
            void terminate() override { terminated = true; }
        };
        return fails ? nullptr : std::make_unique<Child>(terminated);
    }
};

class FakeApplication final : public ApplicationPort {
public:
    int activations = 0, terminations = 0;
    void installMainMenu(const std::vector<Menu>&) override {}
    void activateIgnoringOtherApps() override { ++activations; }
    bool isActive() const override { return activations > 0; }
    bool isHidden() const override { return false; }
    void terminate() override { ++terminations; }
};

// The panel on one 1440 × 900 screen, counting its frame changes.
class FakePanel final : public PanelPort {
public:
    bool visible = false, controlsHidden = true;
    int resizes = 0;
    Rect currentFrame;
    std::optional<std::string> startupLabel;
    const Screen screen{{0, 0, 1440, 900}, {0, 0, 1440, 875}};

    void configure(const PanelConfiguration& c) override { currentFrame = c.frame; startupLabel = c.startupLabel; }
    bool hasWindow() const override { return true; }
    std::vector<Screen> screens() const override { return {screen}; }
    std::optional<Screen> mainScreen() const override { return screen; }
    std::optional<Screen> panelScreen() const override { return screen; }
    Point mouseLocation() const override { return {100, 100}; }
    bool reduceMotion() const override { return false; }
    bool isMiniaturized() const override { return false; }
    void deminiaturize() override {}
    bool isVisible() const override { return visible; }
    Rect frame() const override { return currentFrame; }
    void setFrame(const Rect& f, bool, bool) override { currentFrame = f; ++resizes; }
    void makeKeyAndOrderFront() override { visible = true; }
    void orderOut() override { visible = false; }
    bool isKeyWindow() const override { return visible; }
    PanelLayout layout() const override { return {visible, visible, false, visible, true, currentFrame, currentFrame}; }
    void setStartupLabel(const std::string& text) override { startupLabel = text; }
    void removeStartupLabel() override { startupLabel.reset(); }
    void setControlsHidden(bool hidden) override { controlsHidden = hidden; }
};

// Records loads, scripts and async calls; every script returns `scriptResult`.
class FakeWebView final : public WebViewPort {
public:
    std::optional<std::string> url, scriptResult;
    std::vector<std::string> loads, scripts;
    std::vector<AsyncCall> calls;

    void load(const std::string& u, Duration) override { loads.push_back(*(url = u)); }
    std::optional<std::string> currentURL() const override { return url; }
    const void* identity() const override { return this; }
    void evaluate(const std::string& script, std::function<void(ScriptResult)> completion) override {
        scripts.push_back(script);
        completion({std::nullopt, scriptResult});
    }
    void callAsyncFunction(const std::string& body, const nlohmann::json& arguments) override { calls.push_back({body, arguments}); }
};

class FakeWorkspace final : public WorkspacePort {
public:
    std::vector<std::string> opened;
    void openURL(const std::string& url) override { opened.push_back(url); }
    std::string frontmostBundleID() const override { return "org.example.editor"; }
};

}  // namespace brisel::testing
