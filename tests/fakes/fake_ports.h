#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <sstream>
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
    explicit FakeHttpClient(MainQueue& queue) : queue_(queue) {}
    std::function<std::optional<HttpResponse>(const std::string&)> answer = [](auto&) { return std::nullopt; };
    std::vector<std::string> requests;

    void get(const std::string& url, Duration timeout, std::function<void(std::optional<HttpResponse>)> completion) override {
        requests.push_back(url);
        auto response = answer(url);
        queue_.postAfter(response ? Duration(0) : timeout, [=] { completion(response); });
    }

private:
    MainQueue& queue_;
};

// Records each launch; the one server it pretends to start runs until terminated.
class FakeProcessLauncher final : public ProcessLauncher {
public:
    bool fails = false;
    bool terminated = false;
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
    int activations = 0;
    int terminations = 0;
    void installMainMenu(const std::vector<Menu>&) override {}
    void activateIgnoringOtherApps() override { ++activations; }
    bool isActive() const override { return activations > 0; }
    bool isHidden() const override { return false; }
    void terminate() override { ++terminations; }
};

// The panel on the screens the test sets, with every frame change as "x y width height display animate".
class FakePanel final : public PanelPort {
public:
    std::vector<Screen> screenList{{{0, 0, 1440, 900}, {0, 0, 1440, 875}}};
    Point mouse{100, 100};
    bool reduceMotionOn = false, miniaturized = false, visible = false, key = false, window = false;
    bool controlsHidden = true;
    Rect currentFrame;
    std::optional<std::string> startupLabel;
    std::vector<std::string> frameChanges;

    void configure(const PanelConfiguration& c) override {
        window = true;
        currentFrame = c.frame;
        startupLabel = c.startupLabel;
    }
    bool hasWindow() const override { return window; }
    std::vector<Screen> screens() const override { return screenList; }
    std::optional<Screen> mainScreen() const override { return screenList.front(); }
    std::optional<Screen> panelScreen() const override {
        for (const auto& s : screenList) {
            if (s.frame.contains({currentFrame.midX(), currentFrame.midY()})) return s;
        }
        return std::nullopt;
    }
    Point mouseLocation() const override { return mouse; }
    bool reduceMotion() const override { return reduceMotionOn; }
    bool isMiniaturized() const override { return miniaturized; }
    void deminiaturize() override { miniaturized = false; }
    bool isVisible() const override { return visible; }
    Rect frame() const override { return currentFrame; }
    void setFrame(const Rect& f, bool display, bool animate) override {
        currentFrame = f;
        std::ostringstream change;
        change << f.x << ' ' << f.y << ' ' << f.width << ' ' << f.height << ' ' << display << ' ' << animate;
        frameChanges.push_back(change.str());
    }
    void makeKeyAndOrderFront() override { visible = key = true; }
    void orderOut() override { visible = key = false; }
    bool isKeyWindow() const override { return key; }
    PanelLayout layout() const override { return {visible, key, false, visible, true, currentFrame, currentFrame}; }
    void setStartupLabel(const std::string& text) override { startupLabel = text; }
    void removeStartupLabel() override { startupLabel.reset(); }
    void setControlsHidden(bool hidden) override { controlsHidden = hidden; }
};

// Records loads, scripts and async calls; scripts end with `scriptError`, or return `scriptResult`.
class FakeWebView final : public WebViewPort {
public:
    std::optional<std::string> url;
    std::vector<std::string> loads;
    std::vector<std::string> scripts;
    std::vector<AsyncCall> calls;
    std::optional<WebError> scriptError;
    std::optional<std::string> scriptResult;

    void load(const std::string& u, Duration) override { loads.push_back(*(url = u)); }
    std::optional<std::string> currentURL() const override { return url; }
    const void* identity() const override { return this; }
    void evaluate(const std::string& script, std::function<void(ScriptResult)> completion) override {
        scripts.push_back(script);
        completion({scriptError, scriptResult});
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
