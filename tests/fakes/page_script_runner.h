#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace brisel::testing {

// A page as far as native scripts can tell: `window` with addEventListener / dispatchEvent,
// `CustomEvent`, `location.origin`, and window.webkit.messageHandlers[name].postMessage.
struct PageSetup {
    std::string origin = "http://127.0.0.1:47831";
    // The page listens for these DOM events on `window` and keeps each event's detail.
    std::vector<std::string> listenFor = {"omvane:native", "brisel:export-result", "brisel:auth-result"};
    // An expression evaluated after the scripts; its value comes back as JSON.
    std::string probe;
    std::chrono::milliseconds timeout{20000};
};

// What the page received.
struct PageRun {
    bool ran = false;                        // node started, ran the page and reported back
    std::string failure;                     // why not (with node's stderr), or what a listener or the probe threw
    nlohmann::json received = nlohmann::json::array();  // [{"type", "detail"}] in arrival order
    nlohmann::json posted = nlohmann::json::array();    // [{"channel", "body"}] postMessage calls
    std::vector<std::optional<std::string>> scriptErrors;  // per script: the error it threw
    nlohmann::json probe;                    // the probe's value; null without one

    // The details of the events named `type`, in order.
    std::vector<nlohmann::json> details(const std::string& type) const;
};

// One call of the web view port's callAsyncFunction.
struct AsyncCall {
    std::string functionBody;
    nlohmann::json arguments;
};

// Runs `scripts` one after the other, each as its own script (as a web view evaluates them),
// in one fresh page in a real JavaScript engine (node; $BRISEL_NODE or `node` on the PATH).
// Listener errors and script errors are reported, never thrown.
PageRun runPageScripts(const std::vector<std::string>& scripts, const PageSetup& setup = {});

// Makes `calls` one after the other in one fresh page, as WebKit's callAsyncJavaScript does: each
// body becomes an async function whose parameters are its arguments' names, called with their
// values. A call's error (thrown or rejected) is reported in `scriptErrors`.
PageRun runPageCalls(const std::vector<AsyncCall>& calls, const PageSetup& setup = {});

}  // namespace brisel::testing
