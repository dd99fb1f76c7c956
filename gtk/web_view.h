#pragma once

#include <webkit2/webkit2.h>

#include <string>
#include <vector>

#include "platform/web_view_port.h"

namespace brisel {
class Companion;
}

namespace brisel::gtk {

// The WebKitGTK web view as core's web view port, and its navigation signals forwarded to core.
class WebView final : public WebViewPort {
public:
    WebView() = default;
    ~WebView() override;
    WebView(const WebView&) = delete;
    WebView& operator=(const WebView&) = delete;

    void attach(Companion& companion) { companion_ = &companion; }

    // Creates the widget with the page's message channel and user scripts (document start, main
    // frame only, in order).
    GtkWidget* create(const std::string& messageChannel, const std::vector<std::string>& userScripts);
    WebKitWebView* widget() const { return view_; }

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
    static void onScriptMessage(WebKitUserContentManager*, WebKitJavascriptResult*, gpointer);

    Companion* companion_ = nullptr;
    WebKitWebView* view_ = nullptr;
    WebKitUserContentManager* content_ = nullptr;
    bool loadFailed_ = false;
};

// A GLib error as the web error that core logs: WebKitGTK's network errors stand for the URL
// loading domain, its policy and plug-in errors for WebKit's own.
WebError webErrorOf(const GError* error);

}  // namespace brisel::gtk
