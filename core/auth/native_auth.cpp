#include "auth/native_auth.h"

#include <cstdlib>

#include <nlohmann/json.hpp>

#include "auth/auth_configuration.h"
#include "auth/nonce.h"
#include "net/url.h"
#include "util/text.h"

namespace brisel {

namespace {

std::optional<std::string> stringField(const nlohmann::json& body, const char* key) {
    const auto field = body.find(key);
    if (field == body.end() || !field->is_string()) return std::nullopt;
    return field->get<std::string>();
}

BriselAuthOrigin requireOrigin(std::string_view allowedURL, int64_t localPort) {
    auto origin = BriselAuthOrigin::fromURL(allowedURL, localPort);
    if (!origin) std::abort();
    return *origin;
}

// The local page's port as `allowedURL` names it (tests serve on a free one).
int64_t localPortOf(std::string_view allowedURL) {
    const auto parts = parseURL(allowedURL);
    return parts && parts->port ? *parts->port : defaultLocalPort;
}

}  // namespace

BriselNativeAuth::BriselNativeAuth(BriselNativeAuthPorts ports, std::string_view allowedURL)
    : ports_(std::move(ports)),
      origin_(requireOrigin(allowedURL, localPortOf(allowedURL))),
      localPort_(localPortOf(allowedURL)) {}

BriselNativeAuth::~BriselNativeAuth() = default;

std::optional<BriselAuthOrigin> BriselNativeAuth::currentOrigin(const WebViewPort& webView) const {
    const auto url = webView.currentURL();
    if (!url) return std::nullopt;
    return BriselAuthOrigin::fromURL(*url, localPort_);
}

bool BriselNativeAuth::accepts(const ScriptMessage& message) const {
    if (!message.isMainFrame) return false;
    if (!origin_.matches(message.origin)) return false;
    // The very web view we serve: a second one showing the same page is someone else.
    const WebViewReference webView = ports_.webView ? ports_.webView() : WebViewReference();
    if (message.webView != webView.identity) return false;
    // A message still in flight from a page that has since navigated away is not the page's.
    return webView.port != nullptr && currentOrigin(*webView.port) == origin_;
}

bool BriselNativeAuth::handle(const ScriptMessage& message) {
    if (!accepts(message)) return false;
    const nlohmann::json& body = message.body;
    if (!body.is_object()) return false;
    const auto action = stringField(body, "action");
    if (!action) return false;

    if (*action == "authenticate") {
        const auto requestID = stringField(body, "requestId");
        if (!requestID || !isUUIDString(*requestID)) return true;
        const auto provider = stringField(body, "provider");
        if (!provider || (*provider != appleProviderID && *provider != googleProviderID)) return true;
        if (pending_ || googleInFlight_) {
            // The running request goes on; only the newcomer hears about it.
            emit({{"requestId", *requestID}, {"provider", *provider}, {"error", auth_error::failed}});
            return true;
        }
        pending_ = Pending{*requestID, *provider, ports_.uuid()};
        const Pending pending = *pending_;
        if (!ports_.anchor || !ports_.anchor()) {
            finish(pending, {}, auth_error::failed);
            return true;
        }
        if (*provider == appleProviderID) {
            startApple(pending, stringField(body, "nonce"));
        } else {
            startGoogle(pending);
        }
        return true;
    }
    if (*action == "cancelAuth") {
        const auto requestID = stringField(body, "requestId");
        if (!requestID) return true;
        // The page that cancels knows already; it gets no result for this request.
        if (pending_ && pending_->requestID == *requestID) {
            pending_.reset();
            cancelApple();
        }
        return true;
    }
    if (*action == "nativeSignOut") {
        pending_.reset();
        cancelApple();
        if (ports_.google) ports_.google->signOut();
        return true;
    }
    return false;
}

void BriselNativeAuth::invalidate() {
    pending_.reset();
    cancelApple();
}

void BriselNativeAuth::cancelApple() {
    if (!appleController_) return;
    // Forget the attempt first: a cancel that reports back at once is then already stale.
    appleController_.reset();
    if (ports_.apple) ports_.apple->cancel();
}

// --- Sign in with Apple -------------------------------------------------------------------

void BriselNativeAuth::startApple(const Pending& pending, const std::optional<std::string>& nonce) {
    if (!ports_.apple || !isAppleSignInEnabled(ports_.configuration)) {
        finish(pending, {}, auth_error::unconfigured);
        return;
    }
    if (!nonce || !isRawNonce(*nonce)) {
        finish(pending, {}, auth_error::failed);
        return;
    }
    AppleSignInRequest request{{AppleScope::email, AppleScope::fullName},
                               hashedNonce(*nonce, ports_.sha256),
                               pending.requestID};
    const AppleAttempt attempt = ++lastAppleAttempt_;
    appleController_ = attempt;
    ports_.apple->perform(request, weakly([this, attempt](const AppleSignInOutcome& outcome) {
        appleDidComplete(attempt, outcome);
    }));
}

void BriselNativeAuth::appleDidComplete(AppleAttempt attempt, const AppleSignInOutcome& outcome) {
    // Callbacks of a cancelled, replaced or finished controller are not ours any more.
    if (appleController_ != attempt || !pending_) return;
    const Pending pending = *pending_;
    if (const auto* error = std::get_if<SignInError>(&outcome)) {
        const bool cancelled =
            error->domain == appleAuthorizationErrorDomain && error->code == appleAuthorizationCancelledCode;
        finish(pending, {}, cancelled ? auth_error::cancelled : auth_error::failed);
        return;
    }
    if (pending.provider != appleProviderID) return;
    const auto& authorization = std::get<AppleAuthorization>(outcome);
    // A credential is good only for the request whose id it carries back as its state.
    if (!authorization.isAppleIDCredential || authorization.state != pending.requestID ||
        !authorization.identityToken || authorization.identityToken->empty() ||
        !isValidUTF8(*authorization.identityToken)) {
        finish(pending, {}, auth_error::failed);
        return;
    }
    // Only the identity token: no user identifier, name, e-mail or authorization code.
    finish(pending, {{"idToken", *authorization.identityToken}}, std::nullopt);
}

// --- Google sign-in -----------------------------------------------------------------------

void BriselNativeAuth::startGoogle(const Pending& pending) {
    const auto configuration =
        ports_.google ? googleConfiguration(ports_.configuration) : std::optional<GoogleConfiguration>();
    if (!configuration) {
        finish(pending, {}, auth_error::unconfigured);
        return;
    }
    ports_.google->setConfiguration(*configuration);
    googleInFlight_ = true;
    if (!ports_.anchor || !ports_.anchor()) {
        googleInFlight_ = false;
        finish(pending, {}, auth_error::failed);
        return;
    }
    ports_.google->signIn(weakly([this, pending](const GoogleSignInOutcome& outcome) {
        googleDidComplete(pending, outcome);
    }));
}

void BriselNativeAuth::googleDidComplete(const Pending& attempt, const GoogleSignInOutcome& outcome) {
    googleInFlight_ = false;
    if (pending_ && pending_->generation == attempt.generation) {
        if (outcome.error) {
            const bool cancelled =
                outcome.error->domain == googleSignInErrorDomain && outcome.error->code == googleSignInCancelledCode;
            finish(attempt, {}, cancelled ? auth_error::cancelled : auth_error::failed);
        } else if (!outcome.idToken || outcome.idToken->empty() || !isValidUTF8(*outcome.idToken) ||
                   !isValidUTF8(outcome.accessToken)) {
            finish(attempt, {}, auth_error::failed);
        } else {
            finish(attempt, {{"idToken", *outcome.idToken}, {"accessToken", outcome.accessToken}}, std::nullopt);
        }
    }
    // The app keeps no Google session of its own, even when this result was stale.
    ports_.google->signOut();
}

bool BriselNativeAuth::handleURL(const std::string& url) {
    if (!googleInFlight_ || !ports_.google) return false;
    const auto configuration = googleConfiguration(ports_.configuration);
    if (!configuration) return false;
    const auto parts = parseURL(url);
    if (!parts || parts->scheme != reversedClientID(configuration->clientID)) return false;
    return ports_.google->handle(url);
}

// --- Results ------------------------------------------------------------------------------

void BriselNativeAuth::finish(const Pending& pending, AuthResult credential, std::optional<std::string> error) {
    if (!pending_ || pending_->generation != pending.generation) return;
    pending_.reset();
    // Done: the controller is let go without a cancel; any later call of it misses.
    appleController_.reset();
    AuthResult detail = std::move(credential);
    detail["requestId"] = pending.requestID;
    detail["provider"] = pending.provider;
    if (error) {
        // A failure never carries a token along.
        detail.erase("idToken");
        detail.erase("accessToken");
        detail["error"] = *error;
    }
    emit(detail);
}

void BriselNativeAuth::emit(const AuthResult& detail) {
    WebViewPort* webView = ports_.webView ? ports_.webView().port : nullptr;
    if (!webView || currentOrigin(*webView) != origin_) return;
    webView->callAsyncFunction(authResultScript, {{"detail", detail}, {"expectedOrigin", origin_.string()}});
}

}  // namespace brisel
