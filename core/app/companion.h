#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/product.h"
#include "app/startup_diagnostics.h"
#include "bridge/native_events.h"
#include "bridge/script_message.h"
#include "auth/configuration_values.h"
#include "auth/native_auth.h"
#include "auth/sign_in_ports.h"
#include "capture/capture_host.h"
#include "capture/hot_key_manager.h"
#include "capture/hot_key_port.h"
#include "capture/kindle_capture.h"
#include "export/markdown_export.h"
#include "export/save_panel_port.h"
#include "platform/accessibility_port.h"
#include "platform/application_port.h"
#include "platform/background_queue_port.h"
#include "platform/http_client.h"
#include "platform/main_queue.h"
#include "platform/panel_port.h"
#include "platform/pasteboard_port.h"
#include "platform/process_launcher.h"
#include "platform/running_applications_port.h"
#include "platform/web_view_port.h"
#include "platform/workspace_port.h"
#include "reading/reading_controls_model.h"
#include "server/server_launch.h"
#include "server/status_probe.h"
#include "shortcuts/key_value_store_port.h"
#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/settings_window_port.h"
#include "shortcuts/shortcut_settings.h"

namespace brisel {

// True when "backend-mode.txt" in the resources folder reads "cloud" once trimmed.
bool readCloudBackend(const std::optional<std::filesystem::path>& resources);

// Everything the companion reaches of the platform. The shells keep these for the life of the
// process.
struct CompanionPorts {
    MainQueue& mainQueue;
    HttpClient& http;
    ProcessLauncher& launcher;
    ApplicationPort& application;
    PanelPort& panel;
    WebViewPort& webView;
    WorkspacePort& workspace;
    // Kindle capture.
    BackgroundQueuePort& background;
    PasteboardPort& pasteboard;
    AccessibilityPort& accessibility;
    RunningApplicationsPort& applications;
    // Shortcuts.
    HotKeyPort& hotKeys;
    const KeyboardLayoutPort& keyboardLayout;
    KeyValueStorePort& preferences;
    SettingsWindowPort& settingsWindow;
    KeyRecorderPort& keyRecorder;
    // Export and sign-in.
    SavePanelPort& savePanel;
    const ConfigurationValuesPort& configuration;
    AppleSignInPort* apple = nullptr;    // null where Sign in with Apple does not exist
    GoogleSignInPort* google = nullptr;  // null without Google's sign-in library
};

struct CompanionSettings {
    std::string localURL = productLocalURL;  // tests serve on a free port
    bool cloudBackend = false;
    std::optional<std::filesystem::path> resources;
    std::optional<std::filesystem::path> logFolder;  // none: no start-up log
    Environment environment;  // what the server child inherits
    int64_t processID = 0;
    Duration pageLoadTimeout{60000};  // tests of the shells wait less
};

// The native half of the product: owns the server child, the page's readiness and the queue
// of native events, the Kindle capture and its hot key, the shortcut settings and the sign-in
// and export bridges, and answers the application's and the panel's callbacks. The shells
// forward platform callbacks here and carry out what it asks of the ports.
class Companion final : private CaptureHost {
public:
    static constexpr int maximumWaitAttempt = 35;
    static constexpr Duration probeInterval{250};

    Companion(CompanionPorts ports, CompanionSettings settings);
    ~Companion() override;
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;

    // Application lifecycle.
    void applicationDidFinishLaunching();
    void applicationDidBecomeActive();
    bool applicationShouldHandleReopen();
    void applicationWillTerminate();
    // A URL the system asked this application to open (Google's sign-in redirect).
    void openURL(const std::string& url);
    // Closing windows never ends the process; only "Briselを終了" or the system does.
    bool applicationShouldTerminateAfterLastWindowClosed() const { return false; }
    void openCompanion() { showPanel(); }
    // The menu's "設定…" and the page's "openSettings".
    void openSettings();

    // Panel.
    void showPanel() override;
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
    void dispatch(NativeEvent event) override;
    void sendStatus(const std::optional<std::string>& error = std::nullopt) override;

    // Server supervision.
    void probeServer(std::function<void(Probe)> completion);

    bool pageReady() const override { return pageReady_; }
    bool launchedServer() const { return server_ != nullptr; }
    const std::optional<std::string>& lastStatusError() const { return lastStatusError_; }
    const std::optional<std::string>& startupMessage() const { return startupMessage_; }
    const std::optional<Rect>& compactMapFrame() const { return compactMapFrame_; }
    const PendingEvents& pendingEvents() const { return pendingEvents_; }
    StartupDiagnostics& startupDiagnostics() { return startupDiagnostics_; }
    BriselReadingControlsModel& readingControls() { return readingControls_; }
    BriselShortcutSettings& shortcuts() { return shortcuts_; }
    const BriselKindleCapture& capture() const { return capture_; }
    const CaptureHotKey& hotKey() const { return hotKey_; }
    const BriselNativeAuth* nativeAuth() const { return nativeAuth_ ? &*nativeAuth_ : nullptr; }
    const BriselMarkdownExport* markdownExport() const { return markdownExport_ ? &*markdownExport_ : nullptr; }
    const CompanionSettings& settings() const { return settings_; }

private:
    // What a capture asks of its owner.
    void orderOutPanel() override { ports_.panel.orderOut(); }
    void invalidateSignIn() override;
    bool applicationIsActive() const override { return ports_.application.isActive(); }
    bool panelIsKeyWindow() const override { return ports_.panel.isKeyWindow(); }

    void configurePanel();
    void makeBridges();
    void wireShortcutSettings();
    void shortcutRecordingChanged(bool isRecording);
    void removeKeyRecorder();
    void mirrorShortcuts();
    void startServerIfNeeded(Probe probe);
    void waitForServer(int attempt, Probe probe);
    void launchServer();
    void loadPage();
    void setStartupMessage(const std::string& text);
    void pageWentAway();
    void invalidateBridges();
    void resetReadingControls();
    bool showsLocalPage() const;
    void logWebError(const WebError& error, const std::string& stage);
    void probeWebView(const std::string& stage);
    bool acceptsFromPage(const ScriptMessage& message) const;
    void updateReadingControls(const nlohmann::json& body);
    void logPageDiagnostic(const nlohmann::json& body);
    void openBilling(const ScriptMessage& message);
    void openAccessibilitySettings();

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
    BriselShortcutSettings shortcuts_;
    CaptureHotKey hotKey_;
    BriselKindleCapture capture_;
    std::optional<BriselNativeAuth> nativeAuth_;
    std::optional<BriselMarkdownExport> markdownExport_;
    bool keyRecorderInstalled_ = false;
    bool pageReady_ = false;
    std::optional<std::string> lastStatusError_;
    std::optional<std::string> startupMessage_;
    std::optional<Rect> compactMapFrame_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace brisel
