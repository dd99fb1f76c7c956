#include "capture/accessibility_copy.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakes/fake_kindle_accessibility.h"

namespace brisel {
namespace {

using testing::axControl;
using testing::axElement;
using testing::axNode;
using testing::FakeAccessibility;
using testing::FakeAXNodePtr;
using testing::FakeAXOther;
using testing::FakeKindleTree;

class AccessibilityCopyTest : public ::testing::Test {
protected:
    // A clock that stands still unless the test lets every read cost time.
    NowFunction clock() {
        return [this] { return now; };
    }

    void everyReadCosts(Duration cost) {
        accessibility.onRead = [this, cost] { now += cost; };
    }

    std::optional<AccessibilityElement> find(const FakeAXNodePtr& root, Duration limit = Duration(1800)) {
        return findCopyControl(accessibility, axElement(root), now + limit, clock());
    }

    // A tree in which the element at breadth-first `index` is Copy: a root with `width`
    // children, each with `width` children.
    FakeAXNodePtr wideTree(size_t width, size_t copyIndex) {
        auto root = axNode("AXGroup", "root");
        size_t index = 1;
        std::vector<FakeAXNodePtr> level;
        for (size_t i = 0; i < width; ++i, ++index) {
            auto child = index == copyIndex ? axControl("AXButton", "Copy") : axNode("AXGroup", "n" + std::to_string(index));
            root->add(child);
            level.push_back(child);
        }
        for (auto& parent : level) {
            for (size_t i = 0; i < width; ++i, ++index) {
                parent->add(index == copyIndex ? axControl("AXButton", "Copy") : axNode("AXGroup", "n" + std::to_string(index)));
            }
        }
        return root;
    }

    // A chain in which the element at `copyDepth` is Copy.
    FakeAXNodePtr deepTree(int copyDepth) {
        auto root = axNode("AXGroup", "d0");
        auto parent = root;
        for (int depth = 1; depth <= copyDepth; ++depth) {
            auto child = depth == copyDepth ? axControl("AXMenuItem", "Copy") : axNode("AXGroup", "d" + std::to_string(depth));
            parent->add(child);
            parent = child;
        }
        return root;
    }

    FakeAccessibility accessibility;
    Clock::time_point now{};
};

TEST_F(AccessibilityCopyTest, TextAttributeReturnsAStringUnchangedUnlessBlank) {
    auto node = axNode("AXButton");
    node->attributes["AXTitle"] = std::string(" Copy \n");
    node->attributes["AXDescription"] = std::string(" \t\n\u3000");
    node->attributes["AXHelp"] = 3.0;
    node->attributes["AXValue"] = std::string("x");
    node->failing.insert("AXValue");
    const auto element = axElement(node);
    EXPECT_EQ(textAttribute(accessibility, element, "AXTitle"), " Copy \n");
    EXPECT_EQ(textAttribute(accessibility, element, "AXDescription"), std::nullopt);
    EXPECT_EQ(textAttribute(accessibility, element, "AXHelp"), std::nullopt);
    EXPECT_EQ(textAttribute(accessibility, element, "AXValue"), std::nullopt);
    EXPECT_EQ(textAttribute(accessibility, element, "AXMissing"), std::nullopt);
}

TEST_F(AccessibilityCopyTest, ElementAttributeReturnsOnlyElements) {
    auto window = axNode("AXWindow");
    auto application = axNode("AXApplication");
    application->attributes["AXFocusedWindow"] = window;
    application->attributes["AXMenuBar"] = std::string("menu");
    const auto element = axElement(application);
    EXPECT_EQ(elementAttribute(accessibility, element, "AXFocusedWindow"), axElement(window));
    EXPECT_EQ(elementAttribute(accessibility, element, "AXMenuBar"), std::nullopt);
    EXPECT_EQ(elementAttribute(accessibility, element, "AXMissing"), std::nullopt);
}

TEST_F(AccessibilityCopyTest, CopyControlsAreButtonsAndMenuItemsWithAnExactLabel) {
    const auto isCopy = [&](const std::string& role, std::optional<std::string> title, std::optional<std::string> description = {}) {
        auto node = axNode(role);
        if (title) node->attributes["AXTitle"] = *title;
        if (description) node->attributes["AXDescription"] = *description;
        return isCopyControl(accessibility, axElement(node));
    };
    EXPECT_TRUE(isCopy("AXMenuItem", "コピー"));
    EXPECT_TRUE(isCopy("AXMenuItem", "Copy"));
    EXPECT_TRUE(isCopy("AXButton", "Copy"));
    EXPECT_TRUE(isCopy("AXButton", std::nullopt, "コピー"));
    EXPECT_TRUE(isCopy("AXButton", "ハイライト", "Copy"));
    EXPECT_TRUE(isCopy("AXButton", "Copy", "   "));

    EXPECT_FALSE(isCopy("AXMenuItem", "Copy…"));
    EXPECT_FALSE(isCopy("AXMenuItem", "Copy..."));
    EXPECT_FALSE(isCopy("AXMenuItem", " Copy"));
    EXPECT_FALSE(isCopy("AXMenuItem", "copy"));
    EXPECT_FALSE(isCopy("AXMenuItem", "コピー "));
    EXPECT_FALSE(isCopy("AXMenuItem", "Copy Link"));
    EXPECT_FALSE(isCopy("AXStaticText", "Copy"));
    EXPECT_FALSE(isCopy("AXMenuBarItem", "Copy"));
    EXPECT_FALSE(isCopy("AXMenuItem", std::nullopt));

    auto noRole = axNode("AXButton");
    noRole->attributes.erase("AXRole");
    noRole->attributes["AXTitle"] = std::string("Copy");
    EXPECT_FALSE(isCopyControl(accessibility, axElement(noRole)));
}

TEST_F(AccessibilityCopyTest, AnEnabledCopyControlHasATrueNumberForAXEnabled) {
    auto copy = axControl("AXMenuItem", "コピー");
    EXPECT_TRUE(isEnabledCopyControl(accessibility, axElement(copy)));
    copy->attributes["AXEnabled"] = 2.0;
    EXPECT_TRUE(isEnabledCopyControl(accessibility, axElement(copy)));
    copy->setEnabled(false);
    EXPECT_FALSE(isEnabledCopyControl(accessibility, axElement(copy)));
    copy->attributes["AXEnabled"] = std::string("true");
    EXPECT_FALSE(isEnabledCopyControl(accessibility, axElement(copy)));
    copy->attributes.erase("AXEnabled");
    EXPECT_FALSE(isEnabledCopyControl(accessibility, axElement(copy)));
    copy->setEnabled(true);
    copy->failing.insert("AXEnabled");
    EXPECT_FALSE(isEnabledCopyControl(accessibility, axElement(copy)));

    auto paste = axControl("AXMenuItem", "ペースト");
    EXPECT_FALSE(isEnabledCopyControl(accessibility, axElement(paste)));
}

TEST_F(AccessibilityCopyTest, TheFocusedWindowIsSearchedBeforeTheMenuBar) {
    const auto tree = FakeKindleTree::make({.toolbarCopy = true});
    accessibility.applications[501] = tree.application;
    const auto found = searchKindleForCopyControl(accessibility, 501, clock());
    EXPECT_EQ(found, axElement(tree.toolbarCopy));
    for (const auto& read : accessibility.reads()) EXPECT_NE(read, "Kindle.AXMenuBar");
}

TEST_F(AccessibilityCopyTest, WithoutACopyButtonTheEditMenusCopyIsFound) {
    const auto tree = FakeKindleTree::make({});
    accessibility.applications[501] = tree.application;
    EXPECT_EQ(searchKindleForCopyControl(accessibility, 501, clock()), axElement(tree.menuCopy));
}

TEST_F(AccessibilityCopyTest, AnEnglishKindleIsSearchedTheSameWay) {
    const auto tree = FakeKindleTree::make({.copyLabel = "Copy"});
    accessibility.applications[501] = tree.application;
    EXPECT_EQ(searchKindleForCopyControl(accessibility, 501, clock()), axElement(tree.menuCopy));
}

TEST_F(AccessibilityCopyTest, AKindleWithoutCopyGivesNothing) {
    const auto tree = FakeKindleTree::make({.menuCopy = false});
    accessibility.applications[501] = tree.application;
    EXPECT_EQ(searchKindleForCopyControl(accessibility, 501, clock()), std::nullopt);
    EXPECT_EQ(searchKindleForCopyControl(accessibility, 999, clock()), std::nullopt);
}

TEST_F(AccessibilityCopyTest, KindlesApplicationElementGetsAShortMessagingTimeOut) {
    const auto tree = FakeKindleTree::make({});
    accessibility.applications[501] = tree.application;
    searchKindleForCopyControl(accessibility, 501, clock());
    const auto timeouts = accessibility.timeouts();
    ASSERT_EQ(timeouts.size(), 1u);
    EXPECT_EQ(timeouts[0].first, tree.application.get());
    EXPECT_EQ(timeouts[0].second, Duration(150));
}

TEST_F(AccessibilityCopyTest, ElementsTwelveDeepAreExaminedButNotExpanded) {
    EXPECT_TRUE(find(deepTree(12)));
    EXPECT_FALSE(find(deepTree(13)));
    for (const auto& read : accessibility.reads()) EXPECT_NE(read, "d12.AXChildren");
}

TEST_F(AccessibilityCopyTest, OnlyTheFirstSixtyChildrenAreTaken) {
    for (const size_t copyAt : {60, 61}) {
        auto root = axNode("AXGroup", "root");
        for (size_t i = 1; i <= 70; ++i) root->add(i == copyAt ? axControl("AXButton", "Copy") : axNode("AXGroup"));
        EXPECT_EQ(find(root).has_value(), copyAt == 60) << copyAt;
    }
}

TEST_F(AccessibilityCopyTest, AtMost240ElementsAreExaminedPerSearch) {
    // Breadth-first index 239 is the 240th element examined.
    EXPECT_TRUE(find(wideTree(60, 239)));
    accessibility.forgetReads();
    EXPECT_FALSE(find(wideTree(60, 240)));
    EXPECT_EQ(accessibility.examined().size(), 240u);
}

TEST_F(AccessibilityCopyTest, TheSearchStopsAtItsDeadline) {
    everyReadCosts(Duration(10));
    EXPECT_FALSE(find(wideTree(60, 200)));
    const size_t examined = accessibility.examined().size();
    EXPECT_GT(examined, 20u);
    EXPECT_LT(examined, 200u);

    accessibility.onRead = nullptr;
    EXPECT_TRUE(find(wideTree(60, 200)));
}

TEST_F(AccessibilityCopyTest, TheMenuBarSharesTheWindowsDeadline) {
    auto tree = FakeKindleTree::make({});
    for (int i = 0; i < 60; ++i) tree.window->add(axNode("AXGroup"));
    accessibility.applications[501] = tree.application;
    everyReadCosts(Duration(100));
    EXPECT_EQ(searchKindleForCopyControl(accessibility, 501, clock()), std::nullopt);
    for (const auto& read : accessibility.reads()) EXPECT_NE(read, "Kindle.AXMenuBar");
}

TEST_F(AccessibilityCopyTest, FindingKindlesApplicationCountsAgainstTheDeadline) {
    const auto tree = FakeKindleTree::make({.toolbarCopy = true});
    accessibility.applications[501] = tree.application;
    for (const auto& [lookup, found] : {std::pair{Duration(1700), true}, std::pair{Duration(1800), false}}) {
        accessibility.onApplicationLookup = [this, lookup] { now += lookup; };
        EXPECT_EQ(searchKindleForCopyControl(accessibility, 501, clock()).has_value(), found) << lookup.count();
    }
}

TEST_F(AccessibilityCopyTest, ChildrenThatCannotBeReadAreSkipped) {
    auto root = axNode("AXGroup", "root");
    auto broken = axNode("AXGroup", "broken");
    broken->add(axControl("AXButton", "Copy"));
    broken->failing.insert("AXChildren");
    auto odd = axNode("AXGroup", "odd");
    odd->attributes["AXChildren"] = FakeAXOther{};
    auto fine = axNode("AXGroup", "fine");
    auto copy = axControl("AXButton", "Copy");
    fine->add(copy);
    root->add(broken);
    root->add(odd);
    root->add(fine);
    EXPECT_EQ(find(root), axElement(copy));
}

}  // namespace
}  // namespace brisel
