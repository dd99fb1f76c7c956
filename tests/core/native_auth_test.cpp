#include "auth/native_auth.h"

#include <gtest/gtest.h>

#include "core/auth_fakes.h"
#include "fakes/page_script_runner.h"

namespace brisel {
namespace {

using nlohmann::json;
using namespace testing;
using Results = std::vector<json>;

const std::string apple(appleProviderID), google(googleProviderID), local = "http://127.0.0.1:47831/";

json result(const std::string& requestID, const std::string& provider, const char* error) {
    return {{"requestId", requestID}, {"provider", provider}, {"error", error}};
}

struct NativeAuthTest : ::testing::Test { AuthHarness h; };

TEST(NativeAuth, ConsumesItsMalformedActionsSilentlyAndLeavesOthersToTheChannel) {
    const struct { json body; bool consumed; const char* why; } rows[] = {
        {{{"action", "authenticate"}, {"requestId", "abc"}, {"provider", apple}}, true, "an id that is no UUID"},
        {{{"action", "authenticate"}, {"requestId", firstRequest}, {"provider", "Apple.com"}}, true, "providers match exactly"},
        {{{"action", "Authenticate"}}, false, "actions are case-sensitive"},
        {json::array({"authenticate"}), false, "not an object"},
    };
    for (const auto& row : rows) {
        AuthHarness h;
        EXPECT_EQ(h.send(row.body), row.consumed) << row.why;
        EXPECT_TRUE(h.webView.calls.empty() && !h.auth->pending() && h.windowsLeft == 100) << row.why;
    }
}

TEST(NativeAuth, HearsOnlyTheLocalPagesMainFrameInItsOwnWebView) {
    enum Sender { own, secondWebView, none, moved };
    const struct { const char* host; bool mainFrame; Sender sender; bool accepted; const char* why; } rows[] = {
        {"127.0.0.1", true, own, true, "the local page"},
        {"127.0.0.1", false, own, false, "a sub-frame"},
        {"localhost", true, own, false, "the same page under another name"},
        {"127.0.0.1", true, secondWebView, false, "a second web view on the same page"},
        {"127.0.0.1", true, none, false, "no web view on either side"},
        {"127.0.0.1", true, moved, false, "the page has moved on"},
    };
    for (const auto& row : rows) {
        AuthHarness h;
        int other = 0;
        h.webView.url = row.sender == moved ? "https://auth.brisel.app/" : local + "library?book=1#note";
        h.webViewAlive = row.sender != none;
        auto message = h.message({{"action", "authenticate"}, {"requestId", firstRequest}, {"provider", apple}, {"nonce", validNonce}});
        message.origin.host = row.host;
        message.isMainFrame = row.mainFrame;
        message.webView = std::array<const void*, 4>{&h.nativeWebView, &other, nullptr, &h.nativeWebView}[row.sender];
        EXPECT_EQ(h.auth->handle(message), row.accepted) << row.why;
        EXPECT_EQ(h.apple.requests.size(), row.accepted ? 1u : 0u) << row.why;
    }
}

TEST_F(NativeAuthTest, AppleIsAskedWithTheHashedNonceAndASecondRequestFailsAtOnce) {
    h.authenticate(apple, firstRequest);
    EXPECT_EQ(h.apple.requests.at(0).requestedScopes, (std::vector<AppleScope>{AppleScope::email, AppleScope::fullName}));
    EXPECT_EQ(h.apple.requests.at(0).nonce, "0f007385b6f9d4b7eeb2748605afe1a984a0a3bfa3f014d09e2a784ce9e5cd1a");
    EXPECT_EQ(h.apple.requests.at(0).state, firstRequest);
    h.authenticate(google, secondRequest);
    EXPECT_EQ(h.results(), Results{result(secondRequest, google, "failed")});
    EXPECT_TRUE(h.google.completions.empty() && h.auth->pending()->requestID == firstRequest) << "the first goes on";
}

TEST(NativeAuth, CancelSignOutAndInvalidateEndTheRequestWithoutAResult) {
    for (const std::string end : {"cancelAuth", "nativeSignOut", "invalidate"}) {
        AuthHarness h;
        h.authenticate(apple, firstRequest);
        h.send({{"action", "cancelAuth"}, {"requestId", "6f9619ff-8b86-d011-b42d-00c04fc964ff"}});
        EXPECT_TRUE(h.auth->pending()) << "ids are compared exactly";
        EXPECT_TRUE(end == "invalidate" ? (h.auth->invalidate(), true) : h.send({{"action", end}, {"requestId", firstRequest}}));
        EXPECT_EQ(std::pair(h.apple.cancels, h.google.signOuts), std::pair(1, end == "nativeSignOut" ? 1 : 0)) << end;
        h.apple.succeed();
        EXPECT_TRUE(h.results().empty() && !h.auth->pending()) << end << ": the sheet's late answer is ignored";
    }
}

TEST_F(NativeAuthTest, LateCallbacksOfAnOlderAttemptMissTheNewerOne) {
    h.authenticate(google, firstRequest);
    h.auth->invalidate();
    h.authenticate(apple, secondRequest);
    EXPECT_EQ(h.results(), Results{result(secondRequest, apple, "failed")}) << "an open Google sheet refuses newcomers";
    h.google.succeed(0);
    EXPECT_EQ(h.results().size(), 1u) << "its stale completion sends nothing";
    EXPECT_EQ(h.google.signOuts, 1) << "but signs the library out";

    h.authenticate(apple, firstRequest);
    h.send({{"action", "cancelAuth"}, {"requestId", firstRequest}});
    h.authenticate(apple, secondRequest);
    h.apple.succeed(0);
    EXPECT_EQ(h.results().size(), 1u) << "the first sheet answers late";
    h.apple.succeed(1);
    h.apple.succeed(1);
    EXPECT_EQ(h.results().size(), 2u) << "a finished controller's second call misses";

    h.authenticate(google, firstRequest);
    h.google.succeed(1);
    h.authenticate(apple, firstRequest);  // the page reuses an id; the attempt is new
    h.google.succeed(1);
    EXPECT_EQ(h.results().size(), 3u) << "Google's completion called again misses the Apple attempt";
    EXPECT_EQ(h.auth->pending()->generation, "generation-5");
}

TEST(NativeAuth, EachOutcomeGivesOneResultAndNeverAnErrorWithAToken) {
    const std::string appleDomain(appleAuthorizationErrorDomain), googleDomain(googleSignInErrorDomain);
    const json appleFailed = result(firstRequest, apple, "failed"), googleFailed = result(firstRequest, google, "failed");
    using Google = GoogleSignInOutcome;
    const struct { std::optional<AppleSignInOutcome> apple; std::optional<Google> google; json expected; const char* why; } rows[] = {
        {AppleAuthorization{true, firstRequest, "t"}, {}, {{"requestId", firstRequest}, {"provider", apple}, {"idToken", "t"}}, "Apple's token"},
        {SignInError{appleDomain, 1001}, {}, result(firstRequest, apple, "cancelled"), "the user closed the Apple sheet"},
        {AppleAuthorization{true, secondRequest, "t"}, {}, appleFailed, "a credential for another request"},
        {AppleAuthorization{false, firstRequest, "t"}, {}, appleFailed, "not an Apple ID credential"},
        {AppleAuthorization{true, firstRequest, "tok\xE9n"}, {}, appleFailed, "a token that is not UTF-8"},
        {{}, Google{std::nullopt, "id", "access"}, {{"requestId", firstRequest}, {"provider", google}, {"idToken", "id"}, {"accessToken", "access"}}, "both tokens"},
        {{}, Google{SignInError{googleDomain, -5}, "id", "a"}, result(firstRequest, google, "cancelled"), "the user closed the Google sheet"},
        {{}, Google{SignInError{"NSURLErrorDomain", -5}, "id", "a"}, googleFailed, "-5 of another domain"},
        {{}, Google{std::nullopt, "", "a"}, googleFailed, "an empty ID token"},
        {{}, Google{std::nullopt, "id", "\xC0"}, googleFailed, "an access token that is not UTF-8"},
    };
    for (const auto& row : rows) {
        AuthHarness h;
        h.authenticate(row.apple ? apple : google, firstRequest);
        row.apple ? h.apple.completions.at(0)(*row.apple) : h.google.completions.at(0)(*row.google);
        EXPECT_EQ(h.results(), Results{row.expected}) << row.why;
        EXPECT_EQ(h.google.signOuts + h.apple.cancels, row.google ? 1 : 0) << row.why;
    }
}

TEST(NativeAuth, AnUnusableStartAnswersWithoutASheet) {
    const json valid = validNonce, none = json::object();
    const struct { std::string provider; json change, nonce; bool withApple, withGoogle; int windows; const char *expected, *why; } rows[] = {
        {apple, {{"BriselAppleSignInEnabled", "1"}}, valid, true, true, 100, "unconfigured", "Apple sign-in is off"},
        {apple, none, valid, false, true, 100, "unconfigured", "no Apple sign-in on this platform"},
        {apple, none, nullptr, true, true, 100, "failed", "no nonce"},
        {apple, none, std::string(42, 'A'), true, true, 100, "failed", "a nonce of 42 characters"},
        {apple, none, std::string(44, 'A'), true, true, 100, "failed", "a nonce of 44 characters"},
        {apple, none, std::string(42, 'A') + "+", true, true, 100, "failed", "a nonce of standard base64"},
        {apple, none, valid, true, true, 0, "failed", "no reader panel to show the sheet over"},
        {google, none, nullptr, true, false, 100, "unconfigured", "no Google library"},
        {google, {{"BriselGoogleClientID", nullptr}}, nullptr, true, true, 100, "unconfigured", "no Google client ID"},
        {google, none, nullptr, true, true, 1, "failed", "the panel gone before the Google sheet"},
    };
    for (const auto& row : rows) {
        AuthHarness h(row.withApple, row.withGoogle);
        auto values = signInConfiguration();
        values.merge_patch(row.change);  // a null removes a key
        h.configuration = JsonConfigurationValues(values);
        h.windowsLeft = row.windows;
        h.authenticate(row.provider, firstRequest, row.nonce);
        EXPECT_EQ(h.results(), Results{result(firstRequest, row.provider, row.expected)}) << row.why;
        EXPECT_TRUE(h.apple.requests.empty() && h.google.completions.empty() && !h.auth->googleInFlight()) << row.why;
    }
}

TEST_F(NativeAuthTest, GoogleIsConfiguredAndHearsItsRedirectOnlyWhileItsSheetIsOpen) {
    const std::string redirect = std::string(validRedirectScheme) + ":/oauth2redirect/google?code=1";
    h.authenticate(google, firstRequest);
    EXPECT_EQ(h.google.configurations, (std::vector<GoogleConfiguration>{{validClientID, validServerClientID}}));
    EXPECT_FALSE(h.auth->handleURL("COM.googleusercontent.apps.123456-abcdef:/oauth2redirect")) << "case-sensitive";
    EXPECT_TRUE(h.auth->handleURL(redirect));
    h.google.succeed();
    EXPECT_FALSE(h.auth->handleURL(redirect));
    EXPECT_EQ(h.google.handledURLs, std::vector<std::string>{redirect});
}

TEST_F(NativeAuthTest, ResultsReachOnlyTheLocalPageAndArriveThereUnchanged) {
    for (int gone = 0; gone < 3; ++gone) {  // to another origin, to no address, the web view itself
        h.authenticate(apple, firstRequest);
        h.webView.url = std::array<std::optional<std::string>, 3>{"https://auth.brisel.app/", {}, local}[gone];
        h.webViewAlive = gone != 2;
        h.apple.succeed(gone);
        h.webView.url = local;
        h.webViewAlive = true;
    }
    EXPECT_TRUE(h.webView.calls.empty() && !h.auth->pending());

    // Quotes, separators, a closing script tag, a NUL, text beyond the BMP: a token arrives as is.
    const std::string token = "a'b\"c\\d \xE2\x80\xA8</script>${x}`\n\xF0\x9F\x93\x96" + std::string(1, '\0') + "end";
    h.authenticate(google, firstRequest);
    h.google.completions[0]({std::nullopt, token, "access"});
    const auto page = runPageCalls(h.webView.calls);
    ASSERT_TRUE(page.ran) << page.failure;
    EXPECT_EQ(page.details("brisel:auth-result"), h.results());
    EXPECT_EQ(page.details("brisel:auth-result").at(0).at("idToken"), token);
    PageSetup elsewhere;
    elsewhere.origin = "http://localhost:47831";  // moved after the native check: the page checks again
    EXPECT_TRUE(runPageCalls(h.webView.calls, elsewhere).details("brisel:auth-result").empty());
}

TEST_F(NativeAuthTest, TheBridgeMayGoWhileASheetIsOpen) {
    h.authenticate(google, firstRequest);
    h.auth.reset();
    h.google.succeed();
    EXPECT_TRUE(h.webView.calls.empty() && h.google.signOuts == 0);
}

}  // namespace
}  // namespace brisel
