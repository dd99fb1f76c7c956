#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/application_port.h"
#include "platform/http_client.h"
#include "platform/panel_port.h"
#include "platform/process_launcher.h"
#include "platform/web_view_port.h"
#include "platform/workspace_port.h"
#include "fakes/page_script_runner.h"

namespace brisel::testing {

// Answers every GET with `answer(url)` at once, on the caller's thread, and counts requests.
class FakeHttpClient final : public HttpClient {
public:
    std::function<std::optional<HttpResponse>(const std::string&)> answer =
        [](const std::string&) { return std::nullopt; };
    std::vector<std::string> requests;

    void get(const std::string& url, Duration, std::function<void(std::optional<HttpResponse>)> completion) override {
        requests.push_back(url);
        completion(answer(url));
    }
};

class FakeChildProcess final : public ChildProcess {
public:
    explicit FakeChildProcess(bool* terminated) : terminated_(terminated) {}
    bool isRunning() override { return !*terminated_; }
    void terminate() override { *terminated_ = true; }

private:
    bool* terminated_;
};

class FakeProcessLauncher final : public ProcessLauncher {
public:
    bool fails = false;
    bool terminated = false;
    std::vector<ChildProcessSpec> launches;

    std::unique_ptr<ChildProcess> launch(const ChildProcessSpec& launchRequest) override {
        launches.push_back(launchRequest);
        if (fails) return nullptr;
        return std::make_unique<FakeChildProcess>(&terminated);
    }
};

class FakeApplication final : public ApplicationPort {
public:
    std::vector<Menu> menus;
    int activations = 0;
    int terminations = 0;
    void installMainMenu(const std::vector<Menu>& m) override { menus = m; }
    void activateIgnoringOtherApps() override { ++activations; }
    bool isActive() const override { return activations > 0; }
    bool isHidden() const override { return false; }
    void terminate() override { ++terminations; }
};

class FakePanel final : public PanelPort {
public:
    std::vector<Screen> screenList{{{0, 0, 1440, 900}, {0, 0, 1440, 875}}};
    Point mouse{100, 100};
    bool reduceMotionOn = false;
    bool miniaturized = false;
    bool visible = false;
    Rect currentFrame;
    std::optional<PanelConfiguration> configuration;
    bool window = false;  // built by `configure`; a test may take it away
    std::optional<std::string> startupLabel;
    bool controlsHidden = true;
    bool key = false;
    int keyAndFrontCount = 0;
    int orderOutCount = 0;
    struct FrameChange {
        Rect frame;
        bool display;
        bool animate;
    };
    std::vector<FrameChange> frameChanges;

    void configure(const PanelConfiguration& c) override {
        configuration = c;
        window = true;
        currentFrame = c.frame;
        startupLabel = c.startupLabel;
    }
    bool hasWindow() const override { return window; }
    std::vector<Screen> screens() const override { return screenList; }
    std::optional<Screen> mainScreen() const override {
        if (screenList.empty()) return std::nullopt;
        return screenList.front();
    }
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
        frameChanges.push_back({f, display, animate});
    }
    void makeKeyAndOrderFront() override {
        visible = true;
        key = true;
        ++keyAndFrontCount;
    }
    void orderOut() override {
        visible = false;
        key = false;
        ++orderOutCount;
    }
    bool isKeyWindow() const override { return key; }
    PanelLayout layout() const override { return {visible, visible, false, visible, true, currentFrame, {0, 0, currentFrame.width, currentFrame.height}}; }
    void setStartupLabel(const std::string& text) override { startupLabel = text; }
    void removeStartupLabel() override { startupLabel.reset(); }
    void setControlsHidden(bool hidden) override { controlsHidden = hidden; }
};

// Records loads, scripts and async calls; scripts succeed unless `scriptError` is set, and
// return `scriptResult`.
class FakeWebView final : public WebViewPort {
public:
    std::vector<std::string> loads;
    std::optional<Duration> loadTimeout;  // of the last load
    std::vector<std::string> scripts;
    std::vector<AsyncCall> calls;
    std::optional<std::string> url;
    std::optional<WebError> scriptError;
    std::optional<std::string> scriptResult;

    void load(const std::string& u, Duration timeout) override {
        loads.push_back(u);
        loadTimeout = timeout;
        url = u;
    }
    std::optional<std::string> currentURL() const override { return url; }
    const void* identity() const override { return this; }
    void evaluate(const std::string& script, std::function<void(ScriptResult)> completion) override {
        scripts.push_back(script);
        completion({scriptError, scriptResult});
    }
    void callAsyncFunction(const std::string& functionBody, const nlohmann::json& arguments) override {
        calls.push_back({functionBody, arguments});
    }
};

class FakeWorkspace final : public WorkspacePort {
public:
    std::vector<std::string> opened;
    void openURL(const std::string& url) override { opened.push_back(url); }
    std::string frontmostBundleID() const override { return "org.example.editor"; }
};

}  // namespace brisel::testing
