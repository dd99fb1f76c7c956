#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/startup_diagnostics.h"
#include "bridge/native_events.h"
#include "bridge/script_message.h"
#include "platform/application_port.h"
#include "platform/http_client.h"
#include "platform/main_queue.h"
#include "platform/panel_port.h"
#include "platform/process_launcher.h"
#include "platform/web_view_port.h"
#include "platform/workspace_port.h"
#include "reading/reading_controls_model.h"
#include "server/server_launch.h"
#include "server/status_probe.h"

namespace brisel {

inline constexpr const char* productLocalURL = "http://127.0.0.1:47831";
inline constexpr const char* kindleBundleID = "com.amazon.Lassen";
inline constexpr int maximumKindleSelectionCharacters = 240;

// True when "backend-mode.txt" in the resources folder reads "cloud" once trimmed.
bool readCloudBackend(const std::optional<std::filesystem::path>& resources);

struct CompanionPorts {
    MainQueue& mainQueue;
    HttpClient& http;
    ProcessLauncher& launcher;
    ApplicationPort& application;
    PanelPort& panel;
    WebViewPort& webView;
    WorkspacePort& workspace;
};

struct CompanionSettings {
    std::string localURL = productLocalURL;  // tests serve on a free port
    bool cloudBackend = false;
    std::optional<std::filesystem::path> resources;
    std::filesystem::path logFolder;
    Environment environment;  // what the server child inherits
    int64_t processID = 0;
};

// The native half of the product: owns the server child, the page's readiness and the queue
// of native events, and answers the application's and the panel's callbacks. The shells
// forward platform callbacks here and carry out what it asks of the ports.
class Companion {
public:
    static constexpr int maximumWaitAttempt = 35;
    static constexpr Duration probeInterval{250};
    static constexpr Duration pageLoadTimeout{60000};

    Companion(CompanionPorts ports, CompanionSettings settings);
    ~Companion();
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;

    // Application lifecycle.
    void applicationDidFinishLaunching();
    void applicationDidBecomeActive();
    bool applicationShouldHandleReopen();
    void applicationWillTerminate();
    // Closing windows never ends the process; only "Briselを終了" or the system does.
    bool applicationShouldTerminateAfterLastWindowClosed() const { return false; }
    void openCompanion() { showPanel(); }

    // Panel.
    void showPanel();
    void resizeMap(bool expanded);
    bool panelShouldClose();

    // Navigation callbacks of the web view.
    bool decidePolicyForNavigation(const std::optional<std::string>& url, bool linkActivated);
    void didStartProvisionalNavigation();
    void didFinishNavigation();
    void didFailNavigation(const WebError& error, bool provisional);
    void webContentProcessDidTerminate();

    // The page's requests on the "omvane" channel. Anything not from the local page's main
    // frame, malformed or unknown is dropped without a trace.
    void didReceiveScriptMessage(const ScriptMessage& message);

    // Native events.
    void dispatch(NativeEvent event);
    void sendStatus(const std::optional<std::string>& error = std::nullopt);

    // Server supervision.
    void probeServer(std::function<void(Probe)> completion);

    bool pageReady() const { return pageReady_; }
    bool launchedServer() const { return server_ != nullptr; }
    const std::optional<std::string>& lastStatusError() const { return lastStatusError_; }
    const std::optional<std::string>& startupMessage() const { return startupMessage_; }
    const std::optional<Rect>& compactMapFrame() const { return compactMapFrame_; }
    const PendingEvents& pendingEvents() const { return pendingEvents_; }
    StartupDiagnostics& startupDiagnostics() { return startupDiagnostics_; }
    BriselReadingControlsModel& readingControls() { return readingControls_; }
    const CompanionSettings& settings() const { return settings_; }

private:
    void configurePanel();
    void startServerIfNeeded(Probe probe);
    void waitForServer(int attempt, Probe probe);
    void launchServer();
    void loadPage();
    void setStartupMessage(const std::string& text);
    void pageWentAway();
    void resetReadingControls();
    bool showsLocalPage() const;
    void logWebError(const WebError& error, const std::string& stage);
    void probeWebView(const std::string& stage);
    bool acceptsFromPage(const ScriptMessage& message) const;
    void updateReadingControls(const nlohmann::json& body);
    void logPageDiagnostic(const nlohmann::json& body);

    // Wraps a callback that may run after this object is gone; it then does nothing.
    template <typename Function>
    auto weakly(Function function) {
        return [alive = std::weak_ptr<bool>(alive_), function = std::move(function)](auto&&... arguments) {
            if (alive.lock()) function(std::forward<decltype(arguments)>(arguments)...);
        };
    }

    CompanionPorts ports_;
    CompanionSettings settings_;
    ServerEndpoint endpoint_;
    std::string statusURL_;
    StartupDiagnostics startupDiagnostics_;
    std::unique_ptr<ChildProcess> server_;
    PendingEvents pendingEvents_;
    BriselReadingControlsModel readingControls_;
    bool pageReady_ = false;
    std::optional<std::string> lastStatusError_;
    std::optional<std::string> startupMessage_;
    std::optional<Rect> compactMapFrame_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace brisel
