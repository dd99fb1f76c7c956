// The result calls are made in a real JavaScript engine, on a page that listens for
// "brisel:auth-result" the way the web application does.
#include <gtest/gtest.h>

#include "auth/native_auth.h"
#include "core/auth_fakes.h"
#include "fakes/page_script_runner.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::AuthHarness;
using testing::firstRequest;
using testing::PageSetup;
using testing::runPageCalls;

// Quotes, backslashes, line and paragraph separators, a closing script tag, a NUL, text outside
// the Basic Multilingual Plane: whatever a token holds arrives unchanged.
const std::string awkwardText =
    "a'b\"c\\d\\\\\"e \xE2\x80\xA8 f\xE2\x80\xA9g</script><script>alert(1)</script>\n\r\t"
    "${x}`h` \xF0\x9F\x93\x96 \xE6\x97\xA5\xE6\x9C\xAC" + std::string(1, '\0') + "end";

TEST(AuthResultDelivery, TheResultTravelsAsArgumentsOfTheResultScript) {
    AuthHarness h;
    h.authenticate(std::string(appleProviderID), firstRequest);
    h.apple.succeed(0, awkwardText);
    ASSERT_EQ(h.webView.calls.size(), 1u);
    EXPECT_EQ(h.webView.calls[0].functionBody,
              "if (window.location.origin === expectedOrigin) window.dispatchEvent(new "
              "CustomEvent('brisel:auth-result', { detail }));");
    const json expected{{"requestId", firstRequest}, {"provider", appleProviderID}, {"idToken", awkwardText}};
    EXPECT_EQ(h.webView.calls[0].arguments, (json{{"detail", expected}, {"expectedOrigin", "http://127.0.0.1:47831"}}));

    const auto page = runPageCalls(h.webView.calls);
    ASSERT_TRUE(page.ran) << page.failure;
    EXPECT_EQ(page.scriptErrors, std::vector<std::optional<std::string>>{std::nullopt});
    EXPECT_EQ(page.details("brisel:auth-result"), std::vector<json>{expected});
    EXPECT_TRUE(page.details("omvane:native").empty());
}

TEST(AuthResultDelivery, EveryKindOfResultReachesThePage) {
    AuthHarness h;
    h.authenticate(std::string(googleProviderID), firstRequest);
    h.authenticate(std::string(appleProviderID), testing::secondRequest);  // failed at once
    h.google.completions[0]({std::nullopt, awkwardText, "access\"token\\"});

    const auto page = runPageCalls(h.webView.calls);
    ASSERT_TRUE(page.ran) << page.failure;
    EXPECT_EQ(page.details("brisel:auth-result"),
              (std::vector<json>{
                  {{"requestId", testing::secondRequest}, {"provider", appleProviderID}, {"error", "failed"}},
                  {{"requestId", firstRequest},
                   {"provider", googleProviderID},
                   {"idToken", awkwardText},
                   {"accessToken", "access\"token\\"}},
              }));
    for (const auto& error : page.scriptErrors) EXPECT_EQ(error, std::nullopt);
}

TEST(AuthResultDelivery, APageAtAnotherOriginHearsNothing) {
    // The native check passed, then the page moved before the call ran: the page-side guard
    // still keeps the tokens from it.
    AuthHarness h;
    h.authenticate(std::string(appleProviderID), firstRequest);
    h.apple.succeed(0);
    ASSERT_EQ(h.webView.calls.size(), 1u);
    for (const char* origin : {"https://auth.brisel.app", "http://localhost:47831", "http://127.0.0.1:47832", "null"}) {
        PageSetup setup;
        setup.origin = origin;
        const auto page = runPageCalls(h.webView.calls, setup);
        ASSERT_TRUE(page.ran) << page.failure;
        EXPECT_TRUE(page.details("brisel:auth-result").empty()) << origin;
        EXPECT_EQ(page.scriptErrors.at(0), std::nullopt);
    }
}

}  // namespace
}  // namespace brisel
