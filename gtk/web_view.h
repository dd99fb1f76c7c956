#pragma once

#include <webkit2/webkit2.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/web_view_port.h"

namespace brisel {
class Companion;
}

namespace brisel::gtk {

struct WebViewOptions {
    // The folder of the web-process extension that tells which frame posted a page message;
    // without it the page has no message channel.
    std::optional<std::filesystem::path> extensions;
    bool inspector = false;  // WebKit's web inspector, for development only
};

// The WebKitGTK web view as core's web view port, and its navigation signals and the page's
// messages forwarded to core.
class WebView final : public WebViewPort {
public:
    explicit WebView(WebViewOptions options) : options_(std::move(options)) {}
    ~WebView() override;
    WebView(const WebView&) = delete;
    WebView& operator=(const WebView&) = delete;

    void attach(Companion& companion) { companion_ = &companion; }

    // Creates the widget with the page's message channel, which every frame has and which says
    // which frame posted, and the user scripts (document start, main frame only, in order).
    GtkWidget* create(const std::string& messageChannel, const std::vector<std::string>& userScripts);
    WebKitWebView* widget() const { return view_; }

    // Gives up after `timeout` as the URL loading system does: "timed out", unless the load has
    // finished or failed by then.
    void load(const std::string& url, Duration timeout) override;
    std::optional<std::string> currentURL() const override;
    const void* identity() const override { return view_; }
    void evaluate(const std::string& script, std::function<void(ScriptResult)> completion) override;
    void callAsyncFunction(const std::string& functionBody, const nlohmann::json& arguments) override;

private:
    static gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision*, WebKitPolicyDecisionType, gpointer);
    static void onLoadChanged(WebKitWebView*, WebKitLoadEvent, gpointer);
    static gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, gchar*, GError*, gpointer);
    static void onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer);
    static gboolean onUserMessage(WebKitWebView*, WebKitUserMessage*, gpointer);
    static gboolean onLoadTimedOut(gpointer);
    void startLoadTimer();
    void cancelLoadTimer();

    WebViewOptions options_;
    Companion* companion_ = nullptr;
    WebKitWebView* view_ = nullptr;
    std::string channel_;
    bool loadFailed_ = false;
    bool committed_ = false;
    Duration loadTimeout_{0};  // of the load the companion asked for, until it starts
    guint loadTimer_ = 0;
    bool timedOut_ = false;  // until the load that the time-out stopped reports its cancellation
};

// A GLib error as the web error that core logs: WebKitGTK's network errors stand for the URL
// loading domain, its policy and plug-in errors for WebKit's own.
WebError webErrorOf(const GError* error);

}  // namespace brisel::gtk
