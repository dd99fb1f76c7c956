// What the companion decides around the hot key and the sign-in bridge; the bridge's own tests
// decide the rest of sign-in, the shell's prove shortcuts, capture and export end to end.
#include <gtest/gtest.h>

#include "fakes/companion_harness.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {
namespace {

using nlohmann::json;

TEST(CompanionServices, TheStatusCarriesAStandingHotKeyErrorUnlessANewerOneIsGiven) {
    testing::CompanionHarness h;
    h.hotKeys.installStatus = -108;
    h.launchAndLoad().sendStatus("newer");
    EXPECT_EQ(h.deliveredEvents().front()["error"], shortcut_texts::hotKeyHandlerNotInstalled);
    EXPECT_EQ(h.deliveredEvents().back()["error"], "newer");
}

TEST(CompanionServices, SignInEndsWithThePanelOrThePageAndBillingGoesThroughTheBridge) {
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
}

}  // namespace
}  // namespace brisel
