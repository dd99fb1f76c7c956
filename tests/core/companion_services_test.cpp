// What the companion decides around the hot key and the sign-in bridge; the rest of the wiring of
// shortcuts, capture and export is proven end to end in the shell's tests.
#include <gtest/gtest.h>

#include "fakes/companion_harness.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {
namespace {

using nlohmann::json;

TEST(CompanionServices, TheStatusCarriesTheBindingsAndAStandingHotKeyErrorUnlessANewerOneIsGiven) {
    testing::CompanionHarness h;
    h.hotKeys.installStatus = -108;
    auto& companion = h.launchAndLoad();
    EXPECT_EQ(h.deliveredEvents().back()["shortcut"], "⌥⌘K");
    EXPECT_EQ(h.deliveredEvents().back()["error"], shortcut_texts::hotKeyHandlerNotInstalled);
    companion.sendStatus("newer");
    EXPECT_EQ(h.deliveredEvents().back()["error"], "newer");
}

TEST(CompanionServices, SignInEndsWithThePanelOrThePageAndBillingAndRedirectsGoThroughTheBridge) {
    testing::CompanionHarness h;
    h.configuration = JsonConfigurationValues(testing::signInConfiguration());
    auto& companion = h.launchAndLoad();
    const json apple = {{"action", "authenticate"}, {"requestId", testing::firstRequest}, {"provider", "apple.com"}, {"nonce", testing::validNonce}};
    h.post(apple);
    companion.panelShouldClose();
    h.post(apple);
    companion.didStartProvisionalNavigation();
    EXPECT_EQ(h.apple.cancels, 2);

    const std::string billing = "https://apps.apple.com/account/subscriptions";
    companion.didReceiveScriptMessage({{{"action", "openBilling"}, {"url", billing}}, true, {"http", "127.0.0.1", 47831}, nullptr});
    h.post({{"action", "openBilling"}, {"url", billing}});
    EXPECT_EQ(h.workspace.opened, std::vector<std::string>{billing}) << "only from the web view the bridge trusts";

    const std::string redirect = std::string(testing::validRedirectScheme) + ":/oauth2redirect";
    companion.openURL(redirect);
    h.post({{"action", "authenticate"}, {"requestId", testing::secondRequest}, {"provider", "google.com"}});
    companion.openURL(redirect);
    EXPECT_EQ(h.google.handledURLs, std::vector<std::string>{redirect}) << "only while Google's sign-in runs";
}

}  // namespace
}  // namespace brisel
