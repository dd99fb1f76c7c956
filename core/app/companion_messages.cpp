// The page's requests on the "omvane" channel, and the bridges that serve some of them.
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

// The Privacy & Security pane of System Settings, at its Accessibility list.
constexpr const char* accessibilitySettingsURL =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

}  // namespace

void Companion::makeBridges() {
    BriselNativeAuthPorts auth{
        .webView = [alive = std::weak_ptr<bool>(alive_), this]() -> WebViewReference {
            if (!alive.lock()) return {};
            return {&ports_.webView, ports_.webView.identity()};
        },
        .configuration = ports_.configuration,
        .apple = ports_.apple,
        .google = ports_.google,
        .anchor = [alive = std::weak_ptr<bool>(alive_), this] { return alive.lock() && ports_.panel.hasWindow(); },
    };
    nativeAuth_.emplace(std::move(auth), settings_.localURL);
    markdownExport_.emplace(ports_.webView, settings_.localURL, ports_.savePanel, endpoint_.port);
}

void Companion::openURL(const std::string& url) {
    if (nativeAuth_) nativeAuth_->handleURL(url);
}

bool Companion::acceptsFromPage(const ScriptMessage& message) const {
    if (!message.isMainFrame) return false;
    const SecurityOrigin& origin = message.origin;
    if (origin.protocol != "http" || origin.host != "127.0.0.1" || origin.port != endpoint_.port) return false;
    const json& body = message.body;
    return body.is_object() && !body.empty() && stringField(body, "action").has_value();
}

void Companion::didReceiveScriptMessage(const ScriptMessage& message) {
    if (!acceptsFromPage(message)) return;
    if (markdownExport_ && markdownExport_->handle(message)) return;
    if (nativeAuth_ && nativeAuth_->handle(message)) return;
    const json& body = message.body;
    const std::string action = *stringField(body, "action");

    if (action == "desktopSignedIn") {
        if (!settings_.cloudBackend) return;
        showPanel();
        sendStatus();
    } else if (action == "openAuthBrowser") {
        const auto url = stringField(body, "url");
        if (settings_.cloudBackend && url && isSignInURL(*url)) ports_.workspace.openURL(*url);
    } else if (action == "openBilling") {
        openBilling(message);
    } else if (action == "readingControls") {
        updateReadingControls(body);
    } else if (action == "diagnostic") {
        logPageDiagnostic(body);
    } else if (action == "capture") {
        capture_.requestCaptureFromKindle();
    } else if (action == "openSettings") {
        openSettings();
    } else if (action == "returnToReading") {
        capture_.returnToReading(stringField(body, "measurementId"), false);
    } else if (action == "returnAfterSave") {
        capture_.returnAfterSave(stringField(body, "measurementId"));
    } else if (action == "openAccessibilitySettings") {
        openAccessibilitySettings();
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

void Companion::openBilling(const ScriptMessage& message) {
    if (!nativeAuth_ || !nativeAuth_->accepts(message)) return;
    const auto url = stringField(message.body, "url");
    if (url && isBillingURL(*url)) ports_.workspace.openURL(*url);
}

void Companion::openAccessibilitySettings() {
    // Asking with the prompt lets the system offer its own dialog; the answer is not needed.
    ports_.accessibility.isProcessTrusted(true);
    ports_.workspace.openURL(accessibilitySettingsURL);
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
