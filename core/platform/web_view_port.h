#pragma once

#include <functional>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/main_queue.h"

namespace brisel {

// A load or script failure as WebKit reports it. `domain` is one of the names below or any
// other text; `code` is the platform's integer code.
struct WebError {
    std::string domain;
    long long code = 0;
};

namespace web_error_domain {
inline constexpr const char* urlLoading = "NSURLErrorDomain";
inline constexpr const char* webKit = "WebKitErrorDomain";
inline constexpr const char* cocoa = "NSCocoaErrorDomain";
inline constexpr const char* posix = "NSPOSIXErrorDomain";
}  // namespace web_error_domain

namespace web_error_code {
// The URL loading domain's "timed out": a page load that outlived its time-out.
inline constexpr long long timedOut = -1001;
}  // namespace web_error_code

struct ScriptResult {
    std::optional<WebError> error;
    std::optional<std::string> stringValue;  // set when the script returned a string
};

class WebViewPort {
public:
    virtual ~WebViewPort() = default;
    // A load still unfinished after `timeout` fails as "timed out" in the URL loading domain.
    virtual void load(const std::string& url, Duration timeout) = 0;
    virtual std::optional<std::string> currentURL() const = 0;
    // The platform's web view object, as a ScriptMessage's `webView` names it.
    virtual const void* identity() const = 0;
    virtual void evaluate(const std::string& script, std::function<void(ScriptResult)> completion) = 0;
    // Calls `functionBody` as the body of an async function in the main frame, in the page's own
    // script world, with each member of `arguments` (a JSON object whose members are strings or
    // objects of the same kind) as the parameter of that name: values travel as values, never as
    // script text. What the page answers is not reported, because no caller acts on it.
    virtual void callAsyncFunction(const std::string& functionBody, const nlohmann::json& arguments) = 0;
};

}  // namespace brisel
