// The page's requests on the "omvane" channel.
#include "app/companion.h"
#include "auth/external_urls.h"

namespace brisel {

namespace {

using nlohmann::json;

// A field of the wrong type counts as absent.
std::optional<std::string> stringField(const json& body, const char* key) {
    const auto value = body.find(key);
    if (value == body.end() || !value->is_string()) return std::nullopt;
    return value->get<std::string>();
}

bool isOneOf(const std::string& value, std::initializer_list<const char*> words) {
    for (const char* word : words) {
        if (value == word) return true;
    }
    return false;
}

}  // namespace

bool Companion::acceptsFromPage(const ScriptMessage& message) const {
    if (!message.isMainFrame) return false;
    const SecurityOrigin& origin = message.origin;
    if (origin.protocol != "http" || origin.host != "127.0.0.1" || origin.port != endpoint_.port) return false;
    const json& body = message.body;
    return body.is_object() && !body.empty() && stringField(body, "action").has_value();
}

void Companion::didReceiveScriptMessage(const ScriptMessage& message) {
    if (!acceptsFromPage(message)) return;
    const json& body = message.body;
    const std::string action = *stringField(body, "action");

    if (action == "desktopSignedIn") {
        if (!settings_.cloudBackend) return;
        showPanel();
        sendStatus();
    } else if (action == "openAuthBrowser") {
        const auto url = stringField(body, "url");
        if (settings_.cloudBackend && url && isSignInURL(*url)) ports_.workspace.openURL(*url);
    } else if (action == "readingControls") {
        updateReadingControls(body);
    } else if (action == "diagnostic") {
        logPageDiagnostic(body);
    } else if (action == "expandMap") {
        resizeMap(true);
    } else if (action == "compactMap") {
        resizeMap(false);
    } else if (action == "openDictionary") {
        showPanel();
        dispatch({{"type", "openDictionary"}});
    } else if (action == "quit") {
        ports_.application.terminate();
    }
}

void Companion::updateReadingControls(const json& body) {
    if (!ports_.webView.currentURL() || !showsLocalPage()) return;
    if (!readingControls_.update(body)) return;
    ports_.panel.setControlsHidden(!readingControls_.visible);
}

// Only the two event names and eight error names the reporter can send reach the log: no page
// text, whatever a page posts.
void Companion::logPageDiagnostic(const json& body) {
    const std::string event = stringField(body, "event").value_or("unknown");
    if (!isOneOf(event, {"script-error", "unhandled-rejection"})) return;
    std::string errorType = stringField(body, "errorType").value_or("UnknownError");
    if (!isOneOf(errorType, {"Error", "TypeError", "ReferenceError", "SyntaxError", "RangeError", "EvalError",
                             "URIError", "ResourceError"})) {
        errorType = "UnknownError";
    }
    startupDiagnostics_.write(event, {{"errorType", errorType}});
}

}  // namespace brisel
