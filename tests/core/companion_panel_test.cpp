#include <gtest/gtest.h>

#include "fakes/companion_harness.h"

namespace brisel {
namespace {

class PanelTest : public ::testing::Test {
protected:
    void SetUp() override {
        h.panel.screenList = {left, right};
        h.launch();
    }

    const Screen left{{0, 0, 1440, 900}, {0, 0, 1440, 875}};
    const Screen right{{1440, 0, 1920, 1080}, {1440, 0, 1920, 1050}};
    testing::CompanionHarness h;
};

TEST_F(PanelTest, AHiddenPanelReappearsOnTheMonitorUnderTheMouseInItsNormalSize) {
    auto& companion = *h.companion;
    companion.resizeMap(true);
    h.panel.visible = false;
    h.panel.mouse = {2000, 500};
    companion.showPanel();
    EXPECT_EQ(companion.compactMapFrame(), std::nullopt);
    EXPECT_EQ(h.panel.currentFrame, (Rect{1440 + 1920 - 456, 525 - 380, 440, 760}));
    EXPECT_FALSE(h.panel.frameChanges.back().display);
    EXPECT_EQ(h.application.activations, 2);
}

TEST_F(PanelTest, AMiniaturisedPanelIsRestoredWhereItWas) {
    auto& companion = *h.companion;
    const Rect before = h.panel.currentFrame;
    h.panel.miniaturized = true;
    EXPECT_TRUE(companion.applicationShouldHandleReopen());
    EXPECT_FALSE(h.panel.miniaturized);
    EXPECT_EQ(h.panel.currentFrame, before);
    EXPECT_EQ(companion.pendingEvents().events().back()["type"], "status") << "reopening sends a status";
}

TEST_F(PanelTest, ExpandingTwiceThenCompactingOnceRestoresTheFirstFrame) {
    auto& companion = *h.companion;
    const Rect compact = h.panel.currentFrame;
    companion.resizeMap(true);
    const Rect expanded = h.panel.currentFrame;
    EXPECT_EQ(expanded.width, 1040);
    EXPECT_TRUE(h.panel.frameChanges.back().animate);
    companion.resizeMap(true);
    EXPECT_EQ(h.panel.currentFrame, expanded);
    companion.resizeMap(false);
    EXPECT_EQ(h.panel.currentFrame, compact);
    EXPECT_EQ(companion.compactMapFrame(), std::nullopt);
    const size_t changes = h.panel.frameChanges.size();
    companion.resizeMap(false);
    EXPECT_EQ(h.panel.frameChanges.size(), changes);
}

TEST_F(PanelTest, ReduceMotionAndHiddenPanelsAreNotAnimated) {
    auto& companion = *h.companion;
    h.panel.reduceMotionOn = true;
    companion.resizeMap(true);
    EXPECT_FALSE(h.panel.frameChanges.back().animate);
    EXPECT_TRUE(h.panel.frameChanges.back().display);
    h.panel.reduceMotionOn = false;
    h.panel.visible = false;
    companion.resizeMap(false);
    EXPECT_FALSE(h.panel.frameChanges.back().animate);
    EXPECT_FALSE(h.panel.frameChanges.back().display);
}

TEST_F(PanelTest, ClosingThePanelNeverClosesItAndAsksALoadedPageToReturn) {
    auto& companion = *h.companion;
    EXPECT_FALSE(companion.panelShouldClose());
    companion.didFinishNavigation();
    EXPECT_FALSE(companion.panelShouldClose());
    EXPECT_EQ(h.deliveredEvents().back()["type"], "returnRequested");
}

TEST_F(PanelTest, BecomingActiveSendsAStatusOnlyToALoadedPage) {
    auto& companion = *h.companion;
    companion.applicationDidBecomeActive();
    EXPECT_TRUE(companion.pendingEvents().events().empty());
    companion.didFinishNavigation();
    const size_t delivered = h.deliveredEvents().size();
    companion.applicationDidBecomeActive();
    EXPECT_EQ(h.deliveredEvents().size(), delivered + 1);
}

}  // namespace
}  // namespace brisel
