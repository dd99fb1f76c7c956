#include "app/panel_geometry.h"

#include <gtest/gtest.h>

namespace brisel {
namespace {

// The edges of the panel's frames; the shell's end-to-end test sees the usual ones.
TEST(PanelGeometry, FramesShrinkToSmallScreensAndStayInsideSixteenPointMargins) {
    const Screen left{{0, 0, 1440, 900}, {0, 0, 1440, 875}};
    const Screen narrow{{0, 0, 400, 600}, {0, 0, 400, 600}};
    EXPECT_EQ(panelFrame({narrow}, narrow, {1, 1}), (Rect{8, 16, 376, 568}));
    EXPECT_EQ(panelFrame({narrow, left}, left, {-50, -50}), panelFrame({left}, left, {1, 1})) << "off every screen: the main one";
    EXPECT_EQ(panelFrame({}, std::nullopt, {0, 0}), (Rect{984, 70, 440, 760})) << "no screen at all";
    EXPECT_EQ(expandedMapFrame({0, 0, 1280, 800}, {-500, -500, 440, 760}), (Rect{16, 16, 1040, 768}));
    EXPECT_EQ(expandedMapFrame({0, 0, 2560, 1400}, {1000, 300, 440, 760}), (Rect{700, 260, 1040, 840}));
}

}  // namespace
}  // namespace brisel
