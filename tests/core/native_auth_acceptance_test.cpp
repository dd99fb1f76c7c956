#include <gtest/gtest.h>

#include "auth/native_auth.h"
#include "core/auth_fakes.h"

namespace brisel {
namespace {

using testing::AuthHarness;

TEST(NativeAuthAcceptance, AcceptsTheLocalPagesMainFrame) {
    AuthHarness h;
    EXPECT_EQ(h.auth->origin(), (BriselAuthOrigin{"http", "127.0.0.1", 47831}));
    EXPECT_TRUE(h.auth->accepts(h.message({{"action", "openBilling"}})));
    h.webView.url = "http://127.0.0.1:47831/library?book=1#note";
    EXPECT_TRUE(h.auth->accepts(h.message({{"action", "openBilling"}})));
}

TEST(NativeAuthAcceptance, RefusesSubFrames) {
    AuthHarness h;
    auto message = h.message({{"action", "authenticate"}});
    message.isMainFrame = false;
    EXPECT_FALSE(h.auth->accepts(message));
    EXPECT_FALSE(h.auth->handle(message));
}

TEST(NativeAuthAcceptance, RefusesEveryOtherOrigin) {
    AuthHarness h;
    for (const SecurityOrigin& origin : std::vector<SecurityOrigin>{
             {"http", "localhost", 47831},     // the same page under another name
             {"http", "127.0.0.2", 47831},
             {"http", "[::1]", 47831},
             {"HTTP", "127.0.0.1", 47831},      // the protocol is taken as WebKit reports it
             {"https", "127.0.0.1", 47831},
             {"http", "127.0.0.1", 0},          // port 0 is 80 for http
             {"http", "127.0.0.1", 8080},
             {"https", "auth.brisel.app", 0},
             {"file", "", 0},
         }) {
        auto message = h.message({{"action", "authenticate"}});
        message.origin = origin;
        EXPECT_FALSE(h.auth->accepts(message)) << origin.protocol << "://" << origin.host << ":" << origin.port;
    }
    auto message = h.message({{"action", "authenticate"}});
    message.origin.host = "127.0.0.1";
    EXPECT_TRUE(h.auth->accepts(message));
}

TEST(NativeAuthAcceptance, ServesOnlyItsOwnWebView) {
    AuthHarness h;
    int secondWebView = 0;
    auto fromSecond = h.message({{"action", "authenticate"}});
    fromSecond.webView = &secondWebView;
    EXPECT_FALSE(h.auth->accepts(fromSecond)) << "a second web view on the same page is someone else";
    fromSecond.webView = &h.webView;
    EXPECT_FALSE(h.auth->accepts(fromSecond)) << "the port object is not the web view's identity";

    auto anonymous = h.message({{"action", "authenticate"}});
    anonymous.webView = nullptr;
    EXPECT_FALSE(h.auth->accepts(anonymous));

    // Once our web view is gone, nothing is accepted, not even a message from no web view.
    h.webViewAlive = false;
    EXPECT_FALSE(h.auth->accepts(h.message({{"action", "authenticate"}})));
    EXPECT_FALSE(h.auth->accepts(anonymous));
}

TEST(NativeAuthAcceptance, RefusesAPageThatNavigatedAway) {
    AuthHarness h;
    for (const std::optional<std::string>& url : std::vector<std::optional<std::string>>{
             "https://auth.brisel.app/", "http://localhost:47831/", "http://127.0.0.1:47832/",
             "about:blank", "not a url", std::nullopt}) {
        h.webView.url = url;
        EXPECT_FALSE(h.auth->accepts(h.message({{"action", "authenticate"}}))) << url.value_or("(none)");
        EXPECT_FALSE(h.authenticate("apple.com")) << "left to the channel, which drops it too";
    }
    EXPECT_TRUE(h.apple.requests.empty());
    EXPECT_TRUE(h.webView.calls.empty());
}

TEST(NativeAuthAcceptance, ServesTheLocalPageOnATestsOwnPort) {
    testing::FakeWebView webView;
    webView.url = "http://127.0.0.1:51234/";
    JsonConfigurationValues none;
    BriselNativeAuth auth({[&] { return WebViewReference{&webView, &webView}; }, none, nullptr, nullptr,
                           [] { return true; }},
                          "http://127.0.0.1:51234");
    EXPECT_EQ(auth.origin().string(), "http://127.0.0.1:51234");
    EXPECT_TRUE(auth.accepts({{{"action", "x"}}, true, {"http", "127.0.0.1", 51234}, &webView}));
    EXPECT_FALSE(auth.accepts({{{"action", "x"}}, true, {"http", "127.0.0.1", 47831}, &webView}));
}

TEST(NativeAuthAcceptanceDeathTest, AnAllowedURLWithoutAnOriginStopsTheProcess) {
    JsonConfigurationValues none;
    EXPECT_DEATH(BriselNativeAuth({[] { return WebViewReference(); }, none}, "http://localhost:47831"), "");
}

TEST(NativeAuthAcceptance, LeavesOtherMessagesToTheChannel) {
    AuthHarness h;
    EXPECT_FALSE(h.send({{"action", "capture"}}));
    EXPECT_FALSE(h.send({{"action", "openBilling"}, {"url", "https://checkout.stripe.com/"}}));
    EXPECT_FALSE(h.send({{"action", 7}}));
    EXPECT_FALSE(h.send({{"requestId", testing::firstRequest}}));
    EXPECT_FALSE(h.send(nlohmann::json::object()));
    EXPECT_FALSE(h.send(nlohmann::json::array({"authenticate"})));
    EXPECT_FALSE(h.send("authenticate"));
    EXPECT_FALSE(h.send({{"action", "Authenticate"}})) << "actions are case-sensitive";
    EXPECT_TRUE(h.webView.calls.empty());
}

}  // namespace
}  // namespace brisel
