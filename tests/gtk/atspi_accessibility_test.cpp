// The accessibility port against another application on a real accessibility bus.
#include <gtest/gtest.h>
#include <signal.h>

#include <memory>

#include "atspi_accessibility.h"
#include "capture/accessibility_copy.h"
#include "gtk/child_process.h"
#include "gtk/main_loop.h"

namespace brisel::gtk {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;

const NowFunction now = [] { return Clock::now(); };

class AtspiAccessibilityTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        g_unsetenv("NO_AT_BRIDGE");
        reader = std::make_unique<ChildProcess>(std::vector<std::string>{BRISEL_OTHER_APP, "window"});
        ASSERT_EQ(reader->readLine(), "active");
    }
    static void TearDownTestSuite() { reader.reset(); }

    // The reader's application element, once it has registered with the bus.
    AccessibilityElement readerApplication() {
        AccessibilityElement application;
        main_loop::runUntil([&] { return bool(application = accessibility.applicationElement(reader->pid())); }, 10000);
        return application;
    }

    static inline std::unique_ptr<ChildProcess> reader;
    AtspiAccessibility accessibility;
};

TEST_F(AtspiAccessibilityTest, TheBusAnswersAndAProcessWithoutAnApplicationHasNoElement) {
    EXPECT_TRUE(accessibility.isProcessTrusted(false));
    g_setenv("AT_SPI_BUS_ADDRESS", "unix:path=/nonexistent/bus", TRUE);
    EXPECT_FALSE(AtspiAccessibility().isProcessTrusted(false));
    g_unsetenv("AT_SPI_BUS_ADDRESS");

    const AccessibilityElement none = accessibility.applicationElement(ChildProcess({"sleep", "60"}).pid());
    EXPECT_FALSE(none);
    EXPECT_EQ(accessibility.performAction(none, "AXPress"), -25200);
}

// Core's search for Kindle's Copy button, from the background, is proven by every capture end to end.
TEST_F(AtspiAccessibilityTest, TheFocusedWindowHasItsTitleAndTheMenuBarHoldsEditCopy) {
    const AccessibilityElement application = readerApplication();
    ASSERT_TRUE(application);
    EXPECT_EQ(accessibility.stringAttribute(accessibility.elementAttribute(application, "AXFocusedWindow").value(), "AXTitle"), "Reader");
    const auto menuBar = accessibility.elementAttribute(application, "AXMenuBar");
    ASSERT_TRUE(menuBar);
    const auto copy = findCopyControl(accessibility, *menuBar, now() + 2s, now);
    ASSERT_TRUE(copy);
    EXPECT_EQ(accessibility.stringAttribute(*copy, "AXRole"), "AXMenuItem");
}

TEST_F(AtspiAccessibilityTest, AnApplicationThatDoesNotAnswerCostsOneTimeOutPerCallAndTheSearchItsTimeLimit) {
    const AccessibilityElement application = readerApplication();
    ASSERT_TRUE(application);
    accessibility.setMessagingTimeout(application, Duration(150));
    const auto window = accessibility.elementAttribute(application, "AXFocusedWindow");
    ASSERT_TRUE(window);

    kill(reader->pid(), SIGSTOP);
    auto start = std::chrono::steady_clock::now();
    // The cap set on the application holds for the window found through it.
    EXPECT_EQ(accessibility.performAction(*window, "AXPress"), accessibility_error::cannotComplete);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    start = std::chrono::steady_clock::now();
    EXPECT_FALSE(searchKindleForCopyControl(accessibility, reader->pid(), now));
    // The time limit, and at most one call's time-out past it.
    EXPECT_LT(std::chrono::steady_clock::now() - start, accessibility_copy::searchTimeLimit + 250ms);
    kill(reader->pid(), SIGCONT);
}

}  // namespace
}  // namespace brisel::gtk
