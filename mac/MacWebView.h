#pragma once

#import <WebKit/WebKit.h>

#include <string>
#include <vector>

#include "platform/web_view_port.h"

// Named outside namespace brisel, where core's `id` function hides Objective-C's `id`.
using WebViewDelegate = id<WKNavigationDelegate, WKScriptMessageHandler>;

namespace brisel::mac {

// The panel's WKWebView as core's web view port.
class MacWebView final : public WebViewPort {
public:
    // `delegate` follows the navigation and receives the page's script messages.
    explicit MacWebView(WebViewDelegate delegate) : delegate_(delegate) {}

    // Creates the web view with the page's message channel and user scripts (document start,
    // main frame only, in order). Called once, while the panel is built.
    WKWebView* create(NSRect frame, const std::string& messageChannel, const std::vector<std::string>& userScripts);
    WKWebView* view() const { return view_; }

    void load(const std::string& url, Duration timeout) override;
    std::optional<std::string> currentURL() const override;
    const void* identity() const override { return (__bridge const void*)view_; }
    void evaluate(const std::string& script, std::function<void(ScriptResult)> completion) override;
    void callAsyncFunction(const std::string& functionBody, const nlohmann::json& arguments) override;

private:
    __weak WebViewDelegate delegate_;
    WKWebView* view_ = nil;
};

}  // namespace brisel::mac
