#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace brisel::testing {

// One call of the web view port's callAsyncFunction.
struct AsyncCall {
    std::string functionBody;
    nlohmann::json arguments;
};

struct PageSetup {
    std::string origin = "http://127.0.0.1:47831";  // the page's location.origin
};

struct PageRun {
    bool ran = false;     // node ran the page and reported back
    std::string failure;  // why not, or what a script or listener threw
    nlohmann::json received = nlohmann::json::array();  // [{"type", "detail"}] in arrival order
    nlohmann::json lastNative;                          // window.__omvaneLastNative at the end

    std::vector<nlohmann::json> details(const std::string& type) const {  // of the events `type`
        std::vector<nlohmann::json> found;
        for (const auto& event : received) if (event["type"] == type) found.push_back(event["detail"]);
        return found;
    }
};

// One fresh page in a real JavaScript engine (node; $BRISEL_NODE or `node` on the PATH), with
// `window`, its events, `CustomEvent` and `location.origin`, listening for "omvane:native",
// "brisel:export-result" and "brisel:auth-result". Each script runs as its own script, as a
// web view evaluates them; each call as WebKit's callAsyncJavaScript makes it, an async function
// whose parameters are its arguments' names.
PageRun runPageScripts(const std::vector<std::string>& scripts, const PageSetup& setup = {});
PageRun runPageCalls(const std::vector<AsyncCall>& calls, const PageSetup& setup = {});

}  // namespace brisel::testing
