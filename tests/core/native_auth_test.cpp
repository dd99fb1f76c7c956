#include <gtest/gtest.h>

#include "auth/native_auth.h"
#include "core/auth_fakes.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::AuthHarness;
using testing::firstRequest;
using testing::secondRequest;
using testing::validNonce;

const std::string apple(appleProviderID);
const std::string google(googleProviderID);

json failure(const std::string& requestID, const std::string& provider, const char* error) {
    return {{"requestId", requestID}, {"provider", provider}, {"error", error}};
}

// --- One request at a time ----------------------------------------------------------------

TEST(NativeAuthBridge, MalformedRequestsAreConsumedAndAnsweredByNothing) {
    AuthHarness h;
    EXPECT_TRUE(h.authenticate(apple, "abc"));
    EXPECT_TRUE(h.authenticate(apple, ""));
    EXPECT_TRUE(h.authenticate(apple, std::string(firstRequest) + " "));
    EXPECT_TRUE(h.authenticate(apple, "{6F9619FF-8B86-D011-B42D-00C04FC964FF}"));
    EXPECT_TRUE(h.send({{"action", "authenticate"}, {"requestId", 7}, {"provider", apple}}));
    EXPECT_TRUE(h.send({{"action", "authenticate"}, {"provider", apple}}));
    EXPECT_TRUE(h.authenticate("facebook.com"));
    EXPECT_TRUE(h.authenticate("Apple.com"));
    EXPECT_TRUE(h.send({{"action", "authenticate"}, {"requestId", firstRequest}, {"provider", true}}));
    EXPECT_TRUE(h.send({{"action", "cancelAuth"}}));
    EXPECT_TRUE(h.send({{"action", "cancelAuth"}, {"requestId", 1}}));
    EXPECT_TRUE(h.webView.calls.empty());
    EXPECT_FALSE(h.auth->pending());
    EXPECT_EQ(h.anchorCalls, 0);
}

TEST(NativeAuthBridge, ASecondRequestFailsAtOnceAndTheFirstGoesOn) {
    AuthHarness h;
    ASSERT_TRUE(h.authenticate(apple, firstRequest));
    ASSERT_TRUE(h.authenticate(google, secondRequest));
    EXPECT_EQ(h.results(), std::vector<json>{failure(secondRequest, google, "failed")});
    EXPECT_EQ(h.auth->pending()->requestID, firstRequest);
    EXPECT_EQ(h.apple.requests.size(), 1u);
    EXPECT_TRUE(h.google.completions.empty());

    h.apple.succeed(0);
    ASSERT_EQ(h.results().size(), 2u);
    EXPECT_EQ(h.results()[1], (json{{"requestId", firstRequest}, {"provider", apple}, {"idToken", "apple.identity.token"}}));
    EXPECT_FALSE(h.auth->pending());
}

TEST(NativeAuthBridge, EachAcceptedRequestGetsAFreshGeneration) {
    AuthHarness h;
    h.authenticate(apple, firstRequest);
    EXPECT_EQ(h.auth->pending()->generation, "generation-1");
    EXPECT_EQ(h.auth->pending()->provider, apple);
    h.apple.succeed(0);
    h.authenticate(apple, firstRequest);  // the page may reuse an id; the attempt is still new
    EXPECT_EQ(h.auth->pending()->generation, "generation-2");
}

TEST(NativeAuthBridge, CancelAuthEndsTheMatchingRequestSilently) {
    AuthHarness h;
    h.authenticate(apple, firstRequest);
    EXPECT_TRUE(h.send({{"action", "cancelAuth"}, {"requestId", secondRequest}}));
    EXPECT_TRUE(h.auth->pending()) << "another id changes nothing";
    EXPECT_TRUE(h.send({{"action", "cancelAuth"}, {"requestId", "6f9619ff-8b86-d011-b42d-00c04fc964ff"}}));
    EXPECT_TRUE(h.auth->pending()) << "ids are compared exactly";
    EXPECT_EQ(h.apple.cancels, 0);

    EXPECT_TRUE(h.send({{"action", "cancelAuth"}, {"requestId", firstRequest}}));
    EXPECT_FALSE(h.auth->pending());
    EXPECT_FALSE(h.auth->appleInFlight());
    EXPECT_EQ(h.apple.cancels, 1);

    // The sheet's own late answers are ignored: the controller was dropped.
    h.apple.fail(0, appleAuthorizationCancelledCode);
    h.apple.succeed(0);
    EXPECT_TRUE(h.results().empty());
}

TEST(NativeAuthBridge, NativeSignOutForgetsTheRequestAndSignsGoogleOut) {
    AuthHarness h;
    h.authenticate(apple, firstRequest);
    EXPECT_TRUE(h.send({{"action", "nativeSignOut"}}));
    EXPECT_FALSE(h.auth->pending());
    EXPECT_EQ(h.apple.cancels, 1);
    EXPECT_EQ(h.google.signOuts, 1);
    h.apple.succeed(0);
    EXPECT_TRUE(h.results().empty());

    AuthHarness withoutGoogle(true, false);
    EXPECT_TRUE(withoutGoogle.send({{"action", "nativeSignOut"}}));
}

TEST(NativeAuthBridge, InvalidateDropsTheRequestWithoutAResult) {
    AuthHarness h;
    h.authenticate(apple, firstRequest);
    h.auth->invalidate();
    EXPECT_FALSE(h.auth->pending());
    EXPECT_EQ(h.apple.cancels, 1);
    h.apple.succeed(0);
    EXPECT_TRUE(h.results().empty());
    h.auth->invalidate();
    EXPECT_EQ(h.apple.cancels, 1) << "nothing left to cancel";
}

TEST(NativeAuthBridge, AStaleAppleCallbackMissesANewerRequest) {
    AuthHarness h;
    h.authenticate(apple, firstRequest);
    h.send({{"action", "cancelAuth"}, {"requestId", firstRequest}});
    h.authenticate(apple, secondRequest);
    ASSERT_EQ(h.apple.requests.size(), 2u);

    h.apple.succeed(0);  // the first sheet answers late, with its own state
    h.apple.fail(0, 1000);
    EXPECT_TRUE(h.results().empty());
    EXPECT_TRUE(h.auth->pending());

    h.apple.succeed(1);
    EXPECT_EQ(h.results(), (std::vector<json>{{{"requestId", secondRequest}, {"provider", apple},
                                              {"idToken", "apple.identity.token"}}}));
    h.apple.fail(1, 1000);  // a second delegate call of a finished controller
    EXPECT_EQ(h.results().size(), 1u);
}

TEST(NativeAuthBridge, AStaleGoogleCompletionSendsNothingButSignsOut) {
    AuthHarness h;
    h.authenticate(google, firstRequest);
    EXPECT_TRUE(h.auth->googleInFlight());
    h.send({{"action", "cancelAuth"}, {"requestId", firstRequest}});
    EXPECT_FALSE(h.auth->pending());
    EXPECT_TRUE(h.auth->googleInFlight()) << "the sheet is still open";

    // Until that sheet answers, every new request fails at once.
    h.authenticate(apple, secondRequest);
    EXPECT_EQ(h.results(), std::vector<json>{failure(secondRequest, apple, "failed")});
    EXPECT_TRUE(h.apple.requests.empty());

    h.google.succeed(0);
    EXPECT_EQ(h.results().size(), 1u);
    EXPECT_EQ(h.google.signOuts, 1);
    EXPECT_FALSE(h.auth->googleInFlight());

    h.authenticate(apple, secondRequest);
    EXPECT_EQ(h.apple.requests.size(), 1u);
}

TEST(NativeAuthBridge, AGoogleCompletionCalledAgainMissesTheNextRequest) {
    AuthHarness h;
    h.authenticate(google, firstRequest);
    h.google.succeed(0);
    h.authenticate(apple, secondRequest);
    ASSERT_EQ(h.auth->pending()->requestID, secondRequest);

    h.google.succeed(0);
    EXPECT_EQ(h.results().size(), 1u) << "only the first completion had a request to finish";
    EXPECT_EQ(h.auth->pending()->requestID, secondRequest);
    EXPECT_EQ(h.google.signOuts, 2);
    h.apple.succeed(0);
    EXPECT_EQ(h.results().size(), 2u);
}

TEST(NativeAuthBridge, AGoogleSheetOutlivesInvalidate) {
    AuthHarness h;
    h.authenticate(google, firstRequest);
    h.auth->invalidate();
    EXPECT_TRUE(h.auth->googleInFlight());
    h.authenticate(google, secondRequest);
    EXPECT_EQ(h.results(), std::vector<json>{failure(secondRequest, google, "failed")});
    EXPECT_EQ(h.google.completions.size(), 1u);

    h.google.fail(0, googleSignInCancelledCode);
    EXPECT_EQ(h.results().size(), 1u);
    EXPECT_EQ(h.google.signOuts, 1);
}

TEST(NativeAuthBridge, NoWindowFailsTheRequest) {
    for (const std::string& provider : {apple, google}) {
        AuthHarness h;
        h.windowAvailable = false;
        EXPECT_TRUE(h.authenticate(provider, firstRequest));
        EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, provider, "failed")}) << provider;
        EXPECT_TRUE(h.apple.requests.empty());
        EXPECT_TRUE(h.google.completions.empty());
        EXPECT_FALSE(h.auth->pending());
        EXPECT_FALSE(h.auth->googleInFlight());
    }
}

TEST(NativeAuthBridge, TheWindowGoingAwayBeforeTheGoogleSheetFailsIt) {
    AuthHarness h;
    h.auth.reset();
    int calls = 0;
    h.auth = std::make_unique<BriselNativeAuth>(
        BriselNativeAuthPorts{[&] { return WebViewReference{&h.webView, &h.nativeWebView}; }, h.configuration, &h.apple,
                              &h.google, [&] { return ++calls == 1; }},
        "http://127.0.0.1:47831");
    h.authenticate(google, firstRequest);
    EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, google, "failed")});
    EXPECT_FALSE(h.auth->googleInFlight());
    EXPECT_TRUE(h.google.completions.empty());
    EXPECT_EQ(h.google.configurations.size(), 1u);
}

TEST(NativeAuthBridge, ResultsReachOnlyTheLocalPage) {
    AuthHarness h;
    h.authenticate(apple, firstRequest);
    h.webView.url = "https://auth.brisel.app/";
    h.apple.succeed(0);
    EXPECT_TRUE(h.webView.calls.empty());
    EXPECT_FALSE(h.auth->pending()) << "the request is over even though nobody heard of it";

    h.webView.url = "http://127.0.0.1:47831/";
    h.authenticate(apple, secondRequest);
    h.webViewAlive = false;
    h.apple.succeed(1);
    EXPECT_TRUE(h.webView.calls.empty());

    h.webViewAlive = true;
    h.webView.url = std::nullopt;
    h.authenticate(apple, firstRequest);
    EXPECT_TRUE(h.webView.calls.empty());
}

TEST(NativeAuthBridge, ResultsNeverCarryAnErrorAndATokenTogether) {
    std::vector<json> all;
    const auto collect = [&](AuthHarness& h) {
        for (const auto& result : h.results()) all.push_back(result);
    };
    for (long long code : {1000LL, 1001LL, 1004LL}) {
        AuthHarness h;
        h.authenticate(apple);
        h.apple.fail(0, code);
        collect(h);
    }
    for (const AppleAuthorization& authorization : std::vector<AppleAuthorization>{
             {true, firstRequest, "token"}, {false, firstRequest, "token"}, {true, secondRequest, "token"},
             {true, std::nullopt, "token"}, {true, firstRequest, std::nullopt}, {true, firstRequest, ""},
             {true, firstRequest, "\xFF\xFE"}}) {
        AuthHarness h;
        h.authenticate(apple);
        h.apple.completions.at(0)(authorization);
        collect(h);
    }
    for (const GoogleSignInOutcome& outcome : std::vector<GoogleSignInOutcome>{
             {std::nullopt, "id", "access"}, {SignInError{"com.google.GIDSignIn", -5}, "id", "access"},
             {SignInError{"NSURLErrorDomain", -1009}, "id", "access"}, {std::nullopt, std::nullopt, "access"},
             {std::nullopt, "", "access"}, {std::nullopt, "id", "\xC0"}}) {
        AuthHarness h;
        h.authenticate(google);
        h.google.completions.at(0)(outcome);
        collect(h);
    }
    ASSERT_EQ(all.size(), 16u);
    int successes = 0;
    for (const auto& result : all) {
        EXPECT_NE(result.contains("error"), result.contains("idToken")) << result;
        if (result.contains("error")) EXPECT_FALSE(result.contains("accessToken")) << result;
        successes += result.contains("idToken");
    }
    EXPECT_EQ(successes, 2);
}

TEST(NativeAuthBridge, TheBridgeMayGoWhileASheetIsOpen) {
    AuthHarness h;
    h.authenticate(google, firstRequest);
    h.authenticate(apple, secondRequest);
    h.auth.reset();
    h.google.succeed(0);
    EXPECT_EQ(h.google.signOuts, 0) << "nobody is left to ask";
    EXPECT_EQ(h.results().size(), 1u);
}

// --- Sign in with Apple -------------------------------------------------------------------

TEST(AppleSignIn, RequestsEmailAndNameWithTheHashedNonceAndTheRequestIdAsState) {
    AuthHarness h;
    h.authenticate(apple, firstRequest);
    ASSERT_EQ(h.apple.requests.size(), 1u);
    const auto& request = h.apple.requests[0];
    EXPECT_EQ(request.requestedScopes, (std::vector<AppleScope>{AppleScope::email, AppleScope::fullName}));
    EXPECT_EQ(request.nonce, "0f007385b6f9d4b7eeb2748605afe1a984a0a3bfa3f014d09e2a784ce9e5cd1a");
    EXPECT_EQ(request.state, firstRequest);
    EXPECT_TRUE(h.auth->appleInFlight());
}

TEST(AppleSignIn, PassesOnlyTheIdentityToken) {
    AuthHarness h;
    h.authenticate(apple, firstRequest);
    h.apple.succeed(0, "eyJhbGciOiJSUzI1NiJ9.payload.signature");
    EXPECT_EQ(h.results(), (std::vector<json>{{{"requestId", firstRequest}, {"provider", apple},
                                              {"idToken", "eyJhbGciOiJSUzI1NiJ9.payload.signature"}}}));
    EXPECT_FALSE(h.auth->appleInFlight());
    EXPECT_EQ(h.apple.cancels, 0) << "a finished controller is let go, not cancelled";
}

TEST(AppleSignIn, ClosingTheSheetIsCancelledAndOtherErrorsFailed) {
    const auto resultOf = [](long long code, std::string domain) {
        AuthHarness h;
        h.authenticate(apple, firstRequest);
        h.apple.fail(0, code, std::move(domain));
        return h.results();
    };
    const std::string domain(appleAuthorizationErrorDomain);
    EXPECT_EQ(resultOf(1001, domain), std::vector<json>{failure(firstRequest, apple, "cancelled")});
    EXPECT_EQ(resultOf(1000, domain), std::vector<json>{failure(firstRequest, apple, "failed")});
    EXPECT_EQ(resultOf(1004, domain), std::vector<json>{failure(firstRequest, apple, "failed")});
    EXPECT_EQ(resultOf(1001, "NSCocoaErrorDomain"), std::vector<json>{failure(firstRequest, apple, "failed")});
}

TEST(AppleSignIn, ACredentialForAnotherRequestFails) {
    for (const AppleAuthorization& authorization : std::vector<AppleAuthorization>{
             {true, secondRequest, "token"},
             {true, "6f9619ff-8b86-d011-b42d-00c04fc964ff", "token"},
             {true, std::nullopt, "token"},
             {false, firstRequest, "token"},  // a password credential, say
             {true, firstRequest, std::nullopt},
             {true, firstRequest, ""},
             {true, firstRequest, "tok\xE9n"},  // not UTF-8
         }) {
        AuthHarness h;
        h.authenticate(apple, firstRequest);
        h.apple.completions[0](authorization);
        EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, apple, "failed")})
            << authorization.state.value_or("(no state)");
    }
}

TEST(AppleSignIn, IsUnconfiguredUnlessSwitchedOn) {
    for (const json& value : {json("1"), json(false), json("no"), json(nullptr)}) {
        AuthHarness h;
        auto values = testing::signInConfiguration();
        values["BriselAppleSignInEnabled"] = value;
        h.configuration = JsonConfigurationValues(values);
        h.authenticate(apple, firstRequest);
        EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, apple, "unconfigured")}) << value;
        EXPECT_TRUE(h.apple.requests.empty());
    }
    AuthHarness h;
    auto values = testing::signInConfiguration();
    values["BriselAppleSignInEnabled"] = "yes";
    h.configuration = JsonConfigurationValues(values);
    h.authenticate(apple, firstRequest);
    EXPECT_EQ(h.apple.requests.size(), 1u);

    AuthHarness withoutApple(false, true);
    withoutApple.authenticate(apple, firstRequest);
    EXPECT_EQ(withoutApple.results(), std::vector<json>{failure(firstRequest, apple, "unconfigured")});
}

TEST(AppleSignIn, ABadNonceFailsWithoutASheet) {
    for (const std::optional<std::string>& nonce : std::vector<std::optional<std::string>>{
             std::string(42, 'A'), std::string(44, 'A'), std::string(42, 'A') + "+", std::string(42, 'A') + "/",
             std::string(42, 'A') + "=", validNonce + "\n", std::nullopt}) {
        AuthHarness h;
        h.authenticate(apple, firstRequest, nonce);
        EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, apple, "failed")}) << nonce.value_or("(none)");
        EXPECT_TRUE(h.apple.requests.empty());
    }
    AuthHarness h;
    h.send({{"action", "authenticate"}, {"requestId", firstRequest}, {"provider", apple}, {"nonce", 42}});
    EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, apple, "failed")});
}

// --- Google sign-in -----------------------------------------------------------------------

TEST(GoogleSignIn, HandsBothTokensToThePageAndSignsOut) {
    AuthHarness h;
    h.authenticate(google, firstRequest);
    ASSERT_EQ(h.google.configurations.size(), 1u);
    EXPECT_EQ(h.google.configurations[0], (GoogleConfiguration{testing::validClientID, testing::validServerClientID}));
    h.google.succeed(0);
    EXPECT_EQ(h.results(), (std::vector<json>{{{"requestId", firstRequest}, {"provider", google},
                                              {"idToken", "google.id.token"}, {"accessToken", "google.access.token"}}}));
    EXPECT_EQ(h.google.signOuts, 1);
    EXPECT_FALSE(h.auth->googleInFlight());
}

TEST(GoogleSignIn, ClosingTheSheetIsCancelled) {
    AuthHarness h;
    h.authenticate(google, firstRequest);
    h.google.fail(0, googleSignInCancelledCode);
    EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, google, "cancelled")});
    EXPECT_EQ(h.google.signOuts, 1);
}

TEST(GoogleSignIn, OtherErrorsAndMissingTokensFail) {
    for (const GoogleSignInOutcome& outcome : std::vector<GoogleSignInOutcome>{
             {SignInError{std::string(googleSignInErrorDomain), -4}, std::nullopt, ""},
             {SignInError{"NSURLErrorDomain", -5}, std::nullopt, ""},
             {std::nullopt, std::nullopt, "access"},
             {std::nullopt, "", "access"}}) {
        AuthHarness h;
        h.authenticate(google, firstRequest);
        h.google.completions[0](outcome);
        EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, google, "failed")});
        EXPECT_EQ(h.google.signOuts, 1);
    }
}

TEST(GoogleSignIn, AnIncompleteConfigurationIsUnconfigured) {
    for (const char* missing : {"BriselGoogleClientID", "BriselGoogleServerClientID", "CFBundleURLTypes"}) {
        AuthHarness h;
        auto values = testing::signInConfiguration();
        values.erase(missing);
        h.configuration = JsonConfigurationValues(values);
        h.authenticate(google, firstRequest);
        EXPECT_EQ(h.results(), std::vector<json>{failure(firstRequest, google, "unconfigured")}) << missing;
        EXPECT_TRUE(h.google.configurations.empty()) << "the library is never touched";
        EXPECT_FALSE(h.auth->googleInFlight());
    }
    AuthHarness withoutLibrary(true, false);
    withoutLibrary.authenticate(google, firstRequest);
    EXPECT_EQ(withoutLibrary.results(), std::vector<json>{failure(firstRequest, google, "unconfigured")});
    EXPECT_FALSE(withoutLibrary.auth->handleURL(std::string(testing::validRedirectScheme) + ":/oauth2redirect"));
}

TEST(GoogleSignIn, RedirectsAreHandledOnlyWhileTheSheetIsOpen) {
    AuthHarness h;
    const std::string redirect = std::string(testing::validRedirectScheme) + ":/oauth2redirect/google?code=1";
    EXPECT_FALSE(h.auth->handleURL(redirect)) << "no sign-in running";
    h.authenticate(google, firstRequest);
    EXPECT_FALSE(h.auth->handleURL("brisel://open"));
    EXPECT_FALSE(h.auth->handleURL("COM.googleusercontent.apps.123456-abcdef:/oauth2redirect"));
    EXPECT_FALSE(h.auth->handleURL("com.googleusercontent.apps.123456:/oauth2redirect"));
    EXPECT_FALSE(h.auth->handleURL("not a url"));
    EXPECT_TRUE(h.google.handledURLs.empty());
    EXPECT_TRUE(h.auth->handleURL(redirect));
    h.google.handleAnswer = false;
    EXPECT_FALSE(h.auth->handleURL(redirect)) << "the library's own answer";
    EXPECT_EQ(h.google.handledURLs, (std::vector<std::string>{redirect, redirect}));

    h.google.succeed(0);
    EXPECT_FALSE(h.auth->handleURL(redirect));
}

}  // namespace
}  // namespace brisel
