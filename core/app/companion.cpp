#include "app/companion.h"

#include <cstdio>

#include "app/main_menu.h"
#include "app/panel_geometry.h"
#include "app/texts.h"
#include "auth/auth_origin.h"
#include "bridge/injected_scripts.h"
#include "net/url.h"
#include "util/text.h"

namespace brisel {

namespace {

using nlohmann::json;

// The rectangle as AppKit's NSStringFromRect writes it, so both shells log the same text.
std::string rectString(const Rect& rect) {
    char text[160];
    std::snprintf(text, sizeof text, "{{%g, %g}, {%g, %g}}", rect.x, rect.y, rect.width, rect.height);
    return text;
}

std::string knownErrorDomain(const std::string& domain) {
    for (const char* known : {web_error_domain::urlLoading, web_error_domain::webKit,
                              web_error_domain::cocoa, web_error_domain::posix}) {
        if (domain == known) return domain;
    }
    return "other";
}

// Page metrics come from page-controlled script, so only the expected keys with the expected
// kinds of value are kept, and the two texts only when they are one of their known words.
std::optional<json> filteredPageMetrics(const std::string& text) {
    const json metrics = json::parse(text, nullptr, false);
    if (!metrics.is_object()) return std::nullopt;
    json kept = json::object();
    for (const char* key : {"bodyTextLength", "rootChildren", "scriptCount", "viewportWidth",
                            "viewportHeight", "rootWidth", "rootHeight"}) {
        const auto value = metrics.find(key);
        if (value != metrics.end() && value->is_number()) kept[key] = *value;
    }
    const auto keepWord = [&](const char* key, std::initializer_list<const char*> words) {
        const auto value = metrics.find(key);
        if (value == metrics.end() || !value->is_string()) return;
        for (const char* word : words) {
            if (*value == word) kept[key] = word;
        }
    };
    keepWord("readyState", {"loading", "interactive", "complete"});
    keepWord("nativeType", {"boolean", "undefined"});
    return kept;
}

// `base` joined with a relative path, as a browser resolves "api/status" against it.
std::string resolveRelative(const std::string& base, const std::string& relative) {
    const auto parts = parseURL(base);
    if (!parts || parts->rest.empty()) return base + "/" + relative;
    return base.substr(0, base.rfind('/') + 1) + relative;
}

}  // namespace

bool readCloudBackend(const std::optional<std::filesystem::path>& resources) {
    return resources && readTrimmedSetting(*resources / "backend-mode.txt") == "cloud";
}

Companion::Companion(CompanionPorts ports, CompanionSettings settings)
    : ports_(ports),
      settings_(std::move(settings)),
      statusURL_(resolveRelative(settings_.localURL, "api/status")),
      startupDiagnostics_(settings_.logFolder, [&queue = ports.mainQueue] { return queue.now(); }),
      shortcuts_(ports.preferences),
      hotKey_(ports.hotKeys, ports.mainQueue, ports.keyboardLayout, shortcuts_,
              [this] { capture_.requestCaptureFromKindle(); }),
      capture_({ports.mainQueue, ports.background, ports.pasteboard, ports.accessibility, ports.applications}, *this) {
    const auto local = parseURL(settings_.localURL);
    if (!local || !local->host || !local->port) {
        std::fprintf(stderr, "Brisel: the local URL %s names no host and port.\n", settings_.localURL.c_str());
        std::abort();
    }
    endpoint_ = {*local->host, *local->port};
}

Companion::~Companion() = default;

// MARK: - Lifecycle

void Companion::applicationDidFinishLaunching() {
    startupDiagnostics_.write("launch", {{"pid", settings_.processID}});
    ports_.application.installMainMenu(mainMenu());
    configurePanel();
    hotKey_.install();
    wireShortcutSettings();
    mirrorShortcuts();
    probeServer(weakly([this](Probe probe) { startServerIfNeeded(probe); }));
    showPanel();
}

void Companion::applicationDidBecomeActive() {
    if (!pageReady_) return;
    mirrorShortcuts();
    sendStatus();
}

bool Companion::applicationShouldHandleReopen() {
    showPanel();
    sendStatus();
    return true;
}

void Companion::applicationWillTerminate() {
    invalidateBridges();
    hotKey_.unregister();
    removeKeyRecorder();
    hotKey_.removeHandler();
    // Only a server this process started is ours to stop; one found running is left alone.
    if (server_ && server_->isRunning()) server_->terminate();
}

// MARK: - Panel

void Companion::configurePanel() {
    PanelConfiguration configuration;
    configuration.frame = panelFrame(ports_.panel.screens(), ports_.panel.mainScreen(),
                                     ports_.panel.mouseLocation());
    configuration.title = texts::panelTitle;
    configuration.minimumWidth = 380;
    configuration.minimumHeight = 520;
    configuration.backgroundRed = 248.0 / 255;
    configuration.backgroundGreen = 247.0 / 255;
    configuration.backgroundBlue = 242.0 / 255;
    configuration.messageChannel = "omvane";
    configuration.userScripts = {scripts::capabilityFlags(), scripts::errorReporter};
    configuration.startupLabel = texts::startingUp;
    ports_.panel.configure(configuration);
    makeBridges();
    // The strip's buttons speak to the page only while it is the local page, loaded and ready.
    readingControls_.onAction = weakly([this](const std::string& action, const std::string& controlId) {
        if (pageReady_ && showsLocalPage()) dispatch({{"type", action}, {"controlId", controlId}});
    });
    startupMessage_ = configuration.startupLabel;
}

void Companion::showPanel() {
    PanelPort& panel = ports_.panel;
    if (panel.isMiniaturized()) {
        panel.deminiaturize();
    } else if (!panel.isVisible()) {
        compactMapFrame_.reset();
        panel.setFrame(panelFrame(panel.screens(), panel.mainScreen(), panel.mouseLocation()),
                       false, false);
    }
    panel.makeKeyAndOrderFront();
    ports_.application.activateIgnoringOtherApps();
}

void Companion::resizeMap(bool expanded) {
    PanelPort& panel = ports_.panel;
    if (expanded) {
        if (compactMapFrame_) return;
        compactMapFrame_ = panel.frame();
        const auto screen = panel.panelScreen() ? panel.panelScreen() : panel.mainScreen();
        const Rect area = screen ? screen->visibleFrame : panel.frame();
        panel.setFrame(expandedMapFrame(area, panel.frame()), true, !panel.reduceMotion());
        return;
    }
    if (!compactMapFrame_) return;
    const Rect compact = *std::exchange(compactMapFrame_, std::nullopt);
    const bool visible = panel.isVisible();
    panel.setFrame(compact, visible, visible && !panel.reduceMotion());
}

bool Companion::panelShouldClose() {
    // The close button means "back to reading": the page may offer to save first.
    invalidateSignIn();
    if (pageReady_) {
        dispatch({{"type", "returnRequested"}});
    } else {
        capture_.returnToReading(std::nullopt, false);
    }
    return false;
}

// MARK: - Navigation

bool Companion::decidePolicyForNavigation(const std::optional<std::string>& url, bool linkActivated) {
    if (!url) return false;
    const auto local = BriselAuthOrigin::fromURL(settings_.localURL, endpoint_.port);
    const auto target = BriselAuthOrigin::fromURL(*url, endpoint_.port);
    if (local && target == local) return true;
    // Checkout, billing and every other outside page open in the browser, never in the panel;
    // scripted redirects, form posts and other schemes are cancelled without a trace.
    const auto parts = parseURL(*url);
    const std::string scheme = parts ? asciiLowercase(parts->scheme) : "";
    if (linkActivated && (scheme == "https" || scheme == "http")) ports_.workspace.openURL(*url);
    return false;
}

void Companion::didStartProvisionalNavigation() {
    pageWentAway();
    invalidateBridges();
}

void Companion::didFinishNavigation() {
    startupDiagnostics_.write("navigation-finished");
    pageReady_ = true;
    if (startupMessage_) {
        ports_.panel.removeStartupLabel();
        startupMessage_.reset();
    }
    sendStatus();
    for (auto& event : pendingEvents_.take()) dispatch(std::move(event));
    probeWebView("didFinish");
    ports_.mainQueue.postAfter(Duration(1000), weakly([this] { probeWebView("didFinish+1s"); }));
}

void Companion::didFailNavigation(const WebError& error, bool provisional) {
    pageReady_ = false;
    resetReadingControls();
    logWebError(error, provisional ? "provisional-navigation-failed" : "navigation-failed");
}

void Companion::webContentProcessDidTerminate() {
    // Not reloaded on purpose: events wait in the queue until a later navigation finishes.
    pageWentAway();
    invalidateBridges();
    startupDiagnostics_.write("web-content-process-terminated");
}

void Companion::pageWentAway() {
    pageReady_ = false;
    resetReadingControls();
}

// A sign-in or export in flight belongs to the page that asked; it ends with the page.
void Companion::invalidateBridges() {
    if (markdownExport_) markdownExport_->invalidate();
    invalidateSignIn();
}

void Companion::invalidateSignIn() {
    if (nativeAuth_) nativeAuth_->invalidate();
}

void Companion::resetReadingControls() {
    readingControls_.reset();
    ports_.panel.setControlsHidden(true);
}

// Whether the web view shows the local page; two pages without an origin count as the same.
bool Companion::showsLocalPage() const {
    const auto current = ports_.webView.currentURL();
    const auto shown = current ? BriselAuthOrigin::fromURL(*current, endpoint_.port) : std::nullopt;
    return shown == BriselAuthOrigin::fromURL(settings_.localURL, endpoint_.port);
}

void Companion::logWebError(const WebError& error, const std::string& stage) {
    startupDiagnostics_.write("web-error", {{"stage", stage},
                                            {"domain", knownErrorDomain(error.domain)},
                                            {"code", error.code}});
}

void Companion::probeWebView(const std::string& stage) {
    const PanelLayout layout = ports_.panel.layout();
    const std::string frontmost = ports_.workspace.frontmostBundleID();
    startupDiagnostics_.write("layout", {{"stage", stage},
                                         {"panelVisible", layout.panelVisible},
                                         {"panelKey", layout.panelKey},
                                         {"webHidden", layout.webHidden},
                                         {"windowVisible", layout.windowVisible},
                                         {"frame", rectString(layout.frame)},
                                         {"bounds", rectString(layout.webBounds)},
                                         {"frontmostBundle", frontmost.empty() ? "none" : frontmost},
                                         {"appActive", ports_.application.isActive()},
                                         {"appHidden", ports_.application.isHidden()},
                                         {"panelOnActiveSpace", layout.panelOnActiveSpace}});
    ports_.webView.evaluate(scripts::pageMetrics, weakly([this, stage](const ScriptResult& result) {
        if (result.error) {
            logWebError(*result.error, "probe-" + stage);
            return;
        }
        auto metrics = filteredPageMetrics(result.stringValue.value_or(""));
        if (!metrics) return;
        (*metrics)["stage"] = stage;
        startupDiagnostics_.write("web-metrics", std::move(*metrics));
    }));
}

// MARK: - Native events

void Companion::dispatch(NativeEvent event) {
    if (!pageReady_) {
        pendingEvents_.enqueue(std::move(event));
        return;
    }
    const auto script = nativeEventScript(event);
    if (!script) return;
    ports_.webView.evaluate(*script, weakly([this](const ScriptResult& result) {
        if (result.error) logWebError(*result.error, "native-event-dispatch");
    }));
}

void Companion::sendStatus(const std::optional<std::string>& error) {
    const KeyboardLayoutPort& layout = ports_.keyboardLayout;
    NativeEvent status = {{"type", "status"},
                          {"accessibility", ports_.accessibility.isProcessTrusted(false)},
                          {"shortcut", shortcuts_.bindings().capture.label(layout)},
                          {"shortcuts", shortcuts_.bindings().webValue(layout)}};
    auto text = error ? error : lastStatusError_;
    if (!text) text = hotKey_.shortcutError();
    if (text) status["error"] = *text;
    dispatch(std::move(status));
}

// MARK: - Server supervision

void Companion::probeServer(std::function<void(Probe)> completion) {
    ports_.http.get(statusURL_, probeTimeout,
                    [&queue = ports_.mainQueue, cloud = settings_.cloudBackend, endpoint = endpoint_,
                     completion = std::move(completion)](std::optional<HttpResponse> response) {
                        // Classified where the answer arrives; only the outcome crosses threads.
                        const Probe probe = classifyStatusResponse(response, cloud, endpoint);
                        queue.post([completion, probe] { completion(probe); });
                    });
}

void Companion::startServerIfNeeded(Probe probe) {
    switch (probe) {
    case Probe::ready:
        loadPage();
        break;
    case Probe::unavailable:
        launchServer();
        probeServer(weakly([this](Probe next) { waitForServer(0, next); }));
        break;
    case Probe::mismatch:
        setStartupMessage(texts::portHeldByOther);
        break;
    }
}

void Companion::waitForServer(int attempt, Probe probe) {
    switch (probe) {
    case Probe::ready:
        loadPage();
        break;
    case Probe::mismatch:
        setStartupMessage(texts::portHeldByOther);
        break;
    case Probe::unavailable:
        if (attempt >= maximumWaitAttempt) {
            setStartupMessage(lastStatusError_.value_or(texts::serverUnreachable));
            break;
        }
        ports_.mainQueue.postAfter(probeInterval, weakly([this, attempt] {
            probeServer(weakly([this, attempt](Probe next) { waitForServer(attempt + 1, next); }));
        }));
        break;
    }
}

void Companion::launchServer() {
    const auto launchRequest = serverLaunchSpec(settings_.resources, settings_.cloudBackend,
                                       settings_.environment, endpoint_.host,
                                       static_cast<int>(endpoint_.port));
    if (!launchRequest) {
        lastStatusError_ = texts::serverFilesMissing;
        return;
    }
    server_ = ports_.launcher.launch(*launchRequest);
    if (!server_) lastStatusError_ = texts::serverLaunchFailed;
}

void Companion::loadPage() {
    ports_.webView.load(settings_.localURL, settings_.pageLoadTimeout);
}

void Companion::setStartupMessage(const std::string& text) {
    if (!startupMessage_) return;  // the page has already replaced the label
    startupMessage_ = text;
    ports_.panel.setStartupLabel(text);
}

}  // namespace brisel
