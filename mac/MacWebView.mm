#include "MacWebView.h"

#include "Conversions.h"
#import "WeakScriptMessageHandler.h"

namespace brisel::mac {

WKWebView* MacWebView::create(NSRect frame, const std::string& messageChannel,
                              const std::vector<std::string>& userScripts) {
    WKWebViewConfiguration* configuration = [[WKWebViewConfiguration alloc] init];
    WKUserContentController* contents = configuration.userContentController;
    [contents addScriptMessageHandler:[[WeakScriptMessageHandler alloc] initWithReceiver:delegate_]
                                name:nsString(messageChannel)];
    for (const std::string& source : userScripts) {
        [contents addUserScript:[[WKUserScript alloc] initWithSource:nsString(source)
                                                       injectionTime:WKUserScriptInjectionTimeAtDocumentStart
                                                    forMainFrameOnly:YES]];
    }
    view_ = [[WKWebView alloc] initWithFrame:frame configuration:configuration];
    view_.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
    view_.navigationDelegate = delegate_;
    return view_;
}

void MacWebView::load(const std::string& url, Duration timeout) {
    NSURL* address = [NSURL URLWithString:nsString(url)];
    if (!address) return;
    [view_ loadRequest:[NSURLRequest requestWithURL:address
                                        cachePolicy:NSURLRequestUseProtocolCachePolicy
                                    timeoutInterval:std::chrono::duration<double>(timeout).count()]];
}

std::optional<std::string> MacWebView::currentURL() const {
    NSURL* url = view_.URL;
    if (!url) return std::nullopt;
    return stdString(url.absoluteString);
}

void MacWebView::evaluate(const std::string& script, std::function<void(ScriptResult)> completion) {
    [view_ evaluateJavaScript:nsString(script)
            completionHandler:^(id value, NSError* error) {
              ScriptResult result;
              if (error) result.error = webErrorOf(error);
              if ([value isKindOfClass:NSString.class]) result.stringValue = stdString(value);
              completion(std::move(result));
            }];
}

void MacWebView::callAsyncFunction(const std::string& functionBody, const nlohmann::json& arguments) {
    // No frame is the main frame.
    [view_ callAsyncJavaScript:nsString(functionBody)
                     arguments:foundationObject(arguments)
                       inFrame:nil
                inContentWorld:WKContentWorld.pageWorld
             completionHandler:nil];
}

}  // namespace brisel::mac
