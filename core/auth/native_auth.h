#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "auth/auth_origin.h"
#include "auth/configuration_values.h"
#include "auth/sha256.h"
#include "auth/sign_in_ports.h"
#include "auth/uuid.h"
#include "bridge/script_message.h"
#include "platform/web_view_port.h"

namespace brisel {

// Codes the page receives in a result's "error". Export spells its cancellation "canceled";
// sign-in has always written "cancelled", and the page matches each exactly.
namespace auth_error {
inline constexpr const char* failed = "failed";
inline constexpr const char* cancelled = "cancelled";
inline constexpr const char* unconfigured = "unconfigured";
}  // namespace auth_error

// The detail of one "brisel:auth-result": "requestId", "provider", and either "error" or
// "idToken" (plus "accessToken" for Google).
using AuthResult = std::map<std::string, std::string>;

// Hands a result to the page as "brisel:auth-result", called with the arguments "detail" (the
// result) and "expectedOrigin". The page may have navigated since the bridge checked its origin,
// so the page tests it again before any token reaches a listener.
inline constexpr const char* authResultScript =
    "if (window.location.origin === expectedOrigin) window.dispatchEvent(new CustomEvent('brisel:auth-result', { detail }));";

// The web view the bridge serves, as its owner sees it right now.
struct WebViewReference {
    WebViewPort* port = nullptr;     // null once the web view is gone
    const void* identity = nullptr;  // what a ScriptMessage's `webView` carries for it
};

// Held weakly: the owner answers with an empty reference once the web view or the owner is gone.
using WeakWebView = std::function<WebViewReference()>;

struct BriselNativeAuthPorts {
    WeakWebView webView;
    const ConfigurationValuesPort& configuration;
    AppleSignInPort* apple = nullptr;    // null where there is no Sign in with Apple: "unconfigured"
    GoogleSignInPort* google = nullptr;  // null without Google's library: "unconfigured"
    PresentationAnchor anchor;
    UUIDSource uuid = randomUUIDString;
    Sha256Function sha256 = platformSha256;
};

// The sign-in bridge: the local page asks for Sign in with Apple or Google sign-in on the
// "omvane" channel, one request at a time, and gets exactly one "brisel:auth-result" back,
// delivered only while it is still the local page. Main thread only.
class BriselNativeAuth {
public:
    struct Pending {
        std::string requestID;   // the page's requestId, echoed back as sent
        std::string provider;    // appleProviderID or googleProviderID
        std::string generation;  // a fresh UUID per attempt; late callbacks of older ones miss it
    };

    // `allowedURL` is the local page's address; its origin is the only one the bridge serves.
    // An address that makes no origin is a programming error and stops the process.
    BriselNativeAuth(BriselNativeAuthPorts ports, std::string_view allowedURL);
    ~BriselNativeAuth();
    BriselNativeAuth(const BriselNativeAuth&) = delete;
    BriselNativeAuth& operator=(const BriselNativeAuth&) = delete;

    // From the main frame of the local origin, in our own web view, which still shows the
    // local page. The page message bridge also guards "openBilling" with it.
    bool accepts(const ScriptMessage& message) const;

    // "authenticate", "cancelAuth" and "nativeSignOut"; false leaves the message to the
    // channel's own actions.
    bool handle(const ScriptMessage& message);

    // A URL the application was asked to open: Google's redirect while its sheet is open.
    bool handleURL(const std::string& url);

    // Forgets the running request without a result (termination, web content crash, panel
    // closed, return to reading, new navigation). An open Google sheet stays until it completes.
    void invalidate();

    const BriselAuthOrigin& origin() const { return origin_; }
    const std::optional<Pending>& pending() const { return pending_; }
    bool appleInFlight() const { return appleController_.has_value(); }
    bool googleInFlight() const { return googleInFlight_; }

private:
    void startApple(const Pending& pending, const std::optional<std::string>& nonce);
    void appleDidComplete(AppleAttempt attempt, const AppleSignInOutcome& outcome);
    void startGoogle(const Pending& pending);
    void googleDidComplete(const Pending& attempt, const GoogleSignInOutcome& outcome);
    void cancelApple();
    void finish(const Pending& pending, AuthResult credential, std::optional<std::string> error);
    void emit(const AuthResult& detail);
    std::optional<BriselAuthOrigin> currentOrigin(const WebViewPort& webView) const;

    template <typename Function>
    auto weakly(Function function) {
        return [alive = std::weak_ptr<bool>(alive_), function = std::move(function)](auto&&... arguments) {
            if (alive.lock()) function(std::forward<decltype(arguments)>(arguments)...);
        };
    }

    BriselNativeAuthPorts ports_;
    BriselAuthOrigin origin_;
    int64_t localPort_ = defaultLocalPort;
    std::optional<Pending> pending_;
    std::optional<AppleAttempt> appleController_;
    AppleAttempt lastAppleAttempt_ = 0;
    bool googleInFlight_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace brisel
