#include "capture/accessibility_copy.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "fakes/kindle_capture_harness.h"

namespace brisel {
namespace {

using testing::axControl;
using testing::axElement;
using testing::axNode;
using testing::FakeAXNodePtr;
using testing::FakeKindle;

TEST(AccessibilityCopy, CopyIsAnEnabledButtonOrMenuItemLabelledExactly) {
    using Attributes = std::map<std::string, testing::FakeAXValue>;
    // The attributes, whether it is Copy, and an enabled one: either label counts and a blank one is
    // skipped; "AXEnabled" must be a true number; the label must be exact, the role a control's.
    const std::vector<std::tuple<Attributes, bool, bool>> rows = {
        {{{"AXRole", "AXMenuItem"}, {"AXTitle", "コピー"}, {"AXEnabled", 1.0}}, true, true},
        {{{"AXRole", "AXButton"}, {"AXTitle", "Copy"}, {"AXEnabled", 2.0}}, true, true},
        {{{"AXRole", "AXButton"}, {"AXTitle", "ハイライト"}, {"AXDescription", "Copy"}, {"AXEnabled", 1.0}}, true, true},
        {{{"AXRole", "AXButton"}, {"AXTitle", "Copy"}, {"AXDescription", " \t\n\u3000"}, {"AXEnabled", 0.0}}, true, false},
        {{{"AXRole", "AXMenuItem"}, {"AXTitle", "Copy"}, {"AXEnabled", "true"}}, true, false},
        {{{"AXRole", "AXMenuItem"}, {"AXTitle", "コピー "}, {"AXEnabled", 1.0}}, false, false},
        {{{"AXRole", "AXMenuItem"}, {"AXTitle", "copy"}, {"AXEnabled", 1.0}}, false, false},
        {{{"AXRole", "AXStaticText"}, {"AXTitle", "Copy"}, {"AXEnabled", 1.0}}, false, false},
    };
    testing::FakeAccessibility accessibility;
    for (size_t row = 0; row < rows.size(); ++row) {
        const auto& [attributes, copy, enabled] = rows[row];
        const auto element = axElement(axNode("control", attributes));
        EXPECT_EQ(isCopyControl(accessibility, element), copy) << "row " << row;
        EXPECT_EQ(isEnabledCopyControl(accessibility, element), enabled) << "row " << row;
    }
}

// Copy at the end of a chain `depth` deep, or `index`th breadth first (the root is 0) in a tree of
// `width` children of `width` children.
FakeAXNodePtr chain(int depth) {
    FakeAXNodePtr node = axControl("copy", "AXMenuItem", "Copy");
    while (depth-- > 0) node = axNode("group", {}, {node});
    return node;
}
FakeAXNodePtr wide(size_t width, size_t index) {
    const auto at = [&](size_t i, std::vector<FakeAXNodePtr> children) {
        return i == index ? axControl("copy", "AXButton", "Copy") : axNode("group", {}, std::move(children));
    };
    std::vector<FakeAXNodePtr> level;
    for (size_t i = 1; i <= width; ++i) {
        std::vector<FakeAXNodePtr> children;
        for (size_t j = 1; j <= width; ++j) children.push_back(at(width * i + j, {}));
        level.push_back(at(i, children));
    }
    return axNode("root", {}, level);
}

TEST(AccessibilityCopy, TheSearchExaminesTwelveLevelsSixtyChildrenAnd240Elements) {
    for (const auto& [why, root, found] : std::vector<std::tuple<const char*, FakeAXNodePtr, bool>>{
             {"12 deep", chain(12), true}, {"13 deep", chain(13), false}, {"the 60th child", wide(70, 60), true},
             {"the 61st child", wide(70, 61), false}, {"the 240th element", wide(60, 239), true},
             {"the 241st element", wide(60, 240), false}}) {
        testing::FakeAccessibility accessibility;
        EXPECT_EQ(findCopyControl(accessibility, axElement(root), Clock::time_point::max(), Clock::now).has_value(), found)
            << why;
    }
}

// Kindle's focused window first, then its menu bar, all within 1.8 s of the start.
TEST(AccessibilityCopy, KindleIsSearchedWindowFirstWithinOneDeadline) {
    // With a Copy in the toolbar or not; one call taking `slowness`; the Copy found, if any.
    const std::vector<std::tuple<const char*, bool, const char*, int, FakeAXNodePtr FakeKindle::*>> rows = {
        {"finding Kindle takes 1.79 s, the toolbar's Copy first", true, "application 501", 1790, &FakeKindle::toolbarCopy},
        {"finding Kindle takes 1.8 s", true, "application 501", 1800, nullptr},
        {"the window takes 1.79 s, then the Edit menu's", false, "window.AXChildren", 1790, &FakeKindle::menuCopy},
        {"the window takes 1.8 s, none left for the menu", false, "window.AXChildren", 1800, nullptr},
    };
    for (const auto& [why, toolbarCopy, slowCall, slowness, found] : rows) {
        FakeKindle kindle;
        if (toolbarCopy) kindle.addToolbarCopy();
        testing::FakeAccessibility accessibility;
        accessibility.applications[501] = kindle.application;
        Clock::time_point now{};
        accessibility.onCall = [&](const std::string& call) {
            EXPECT_LT(now, Clock::time_point{} + Duration(1800)) << why << ": " << call << " after the deadline";
            now += Duration(call == slowCall ? slowness : 0);
        };
        const auto copy = searchKindleForCopyControl(accessibility, 501, [&] { return now; });
        EXPECT_EQ(copy, found ? std::optional(axElement(kindle.*found)) : std::nullopt) << why;
        if (copy) EXPECT_EQ(accessibility.calls.at(1), "timeout Kindle 150") << why;
    }
}

}  // namespace
}  // namespace brisel
