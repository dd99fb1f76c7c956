#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "auth/sign_in_configuration.h"

namespace brisel {

// A platform error as the framework reports it (NSError's domain and code).
struct SignInError {
    std::string domain;
    long long code = 0;
};

// ASAuthorizationErrorDomain and ASAuthorizationErrorCanceled: the user closed the Apple sheet.
inline constexpr std::string_view appleAuthorizationErrorDomain = "com.apple.AuthenticationServices.AuthorizationError";
inline constexpr long long appleAuthorizationCancelledCode = 1001;
// kGIDSignInErrorDomain and kGIDSignInErrorCodeCanceled: the user closed the Google sheet.
inline constexpr std::string_view googleSignInErrorDomain = "com.google.GIDSignIn";
inline constexpr long long googleSignInCancelledCode = -5;

// Whether the reader panel's window is there to show a sign-in sheet over; the shell shows its
// sheets over that window. Without it a sign-in fails.
using PresentationAnchor = std::function<bool()>;

// --- Sign in with Apple ---------------------------------------------------------------------

// Identifies one authorization controller, so that callbacks of a cancelled or replaced one are
// told apart from the current one.
using AppleAttempt = uint64_t;

enum class AppleScope { email, fullName };

struct AppleSignInRequest {
    std::vector<AppleScope> requestedScopes;  // in this order
    std::string nonce;                        // already hashed: 64 lower-case hex digits
    std::string state;                        // the page's requestId
};

// What an ASAuthorization carried, as far as the bridge reads it.
struct AppleAuthorization {
    bool isAppleIDCredential = false;          // the credential is an ASAuthorizationAppleIDCredential
    std::optional<std::string> state;          // the credential's state
    std::optional<std::string> identityToken;  // the raw bytes of its identityToken
};

// One delegate call: didCompleteWithAuthorization or didCompleteWithError.
using AppleSignInOutcome = std::variant<AppleAuthorization, SignInError>;

class AppleSignInPort {
public:
    virtual ~AppleSignInPort() = default;

    // Runs `request` in a new ASAuthorizationController (the shell keeps it, replacing any
    // earlier one) presented over the anchor window, or over a new empty window when there is
    // none. Every delegate call of that controller goes to `completion` on the main thread; it
    // may be called more than once, and after `cancel`, and is ignored then.
    virtual void perform(const AppleSignInRequest& request, std::function<void(AppleSignInOutcome)> completion) = 0;

    // Cancels the controller that `perform` last started.
    virtual void cancel() = 0;
};

// --- Google sign-in -------------------------------------------------------------------------

// What the library's sign-in completion handed back.
struct GoogleSignInOutcome {
    std::optional<SignInError> error;
    // user.idToken.tokenString; absent when the result, its user or the ID token is absent.
    std::optional<std::string> idToken;
    std::string accessToken;  // user.accessToken.tokenString
};

class GoogleSignInPort {
public:
    virtual ~GoogleSignInPort() = default;
    // GIDSignIn.sharedInstance.configuration = GIDConfiguration(clientID:serverClientID:).
    virtual void setConfiguration(const GoogleConfiguration& configuration) = 0;
    // signIn(withPresentingWindow:completion:) over the anchor window, with no hint, scopes or
    // nonce. `completion` runs once, on the main thread.
    virtual void signIn(std::function<void(GoogleSignInOutcome)> completion) = 0;
    // GIDSignIn.sharedInstance.handle(url).
    virtual bool handle(const std::string& url) = 0;
    virtual void signOut() = 0;
};

}  // namespace brisel
