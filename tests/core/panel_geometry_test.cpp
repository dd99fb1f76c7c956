#include "app/panel_geometry.h"

#include <gtest/gtest.h>

namespace brisel {
namespace {

TEST(PanelFrame, HugsTheRightEdgeOfTheVisibleAreaAndIsCentredVertically) {
    const std::vector<Screen> screens{{{0, 0, 1280, 825}, {0, 0, 1280, 800}}};
    EXPECT_EQ(panelFrame(screens, screens[0], {10, 10}), (Rect{1280 - 456, 20, 440, 760}));
}

TEST(PanelFrame, ShrinksOnANarrowArea) {
    const std::vector<Screen> screens{{{0, 0, 400, 600}, {0, 0, 400, 600}}};
    const Rect frame = panelFrame(screens, screens[0], {1, 1});
    EXPECT_EQ(frame.width, 376);
    EXPECT_EQ(frame.height, 568);
    EXPECT_EQ(frame.x, 400 - 376 - 16);
}

TEST(PanelFrame, StandsOnTheScreenUnderTheMouseElseTheMainScreenElseADefaultArea) {
    const Screen left{{0, 0, 1440, 900}, {0, 0, 1440, 875}};
    const Screen right{{1440, 0, 1920, 1080}, {1440, 40, 1920, 1040}};
    EXPECT_EQ(panelFrame({left, right}, left, {2000, 500}).maxX(), 1440 + 1920 - 16);
    EXPECT_EQ(panelFrame({left, right}, right, {-50, -50}).maxX(), 1440 + 1920 - 16) << "off every screen: the main one";
    EXPECT_EQ(panelFrame({}, std::nullopt, {0, 0}), (Rect{1440 - 456, 450 - 380, 440, 760}));
}

TEST(ExpandedMapFrame, GrowsAroundThePanelCentreInsideTheArea) {
    const Rect area{0, 0, 2560, 1400};
    const Rect panel{1000, 300, 440, 760};
    const Rect expanded = expandedMapFrame(area, panel);
    EXPECT_EQ(expanded.width, 1040);
    EXPECT_EQ(expanded.height, 840);
    EXPECT_EQ(expanded.midX(), panel.midX());
    EXPECT_EQ(expanded.midY(), panel.midY());
}

TEST(ExpandedMapFrame, IsClampedWithSixteenPointMargins) {
    const Rect area{0, 0, 1280, 800};
    const Rect atRightEdge{1280 - 456, 20, 440, 760};
    const Rect expanded = expandedMapFrame(area, atRightEdge);
    EXPECT_EQ(expanded.width, 1040);
    EXPECT_EQ(expanded.height, 768);
    EXPECT_EQ(expanded.maxX(), 1280 - 16);
    EXPECT_EQ(expanded.y, 16);

    const Rect nearOrigin{-500, -500, 440, 760};
    EXPECT_EQ(expandedMapFrame(area, nearOrigin).x, 16);
    EXPECT_EQ(expandedMapFrame(area, nearOrigin).y, 16);
}

}  // namespace
}  // namespace brisel
