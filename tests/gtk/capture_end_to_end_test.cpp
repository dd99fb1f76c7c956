// Captures end to end on a real X desktop: the hot key typed on the X keyboard, Kindle's Copy
// pressed over the accessibility bus, the copy collected from the real X clipboard while the
// user's clipboard is held by another program, and the outcome read back from the page.
#include "gtk/capture_fixture.h"

#include <chrono>
#include <iostream>
#include <random>

#include "capture/capture_texts.h"

namespace brisel::gtk {
namespace {

using testing::CaptureEndToEnd;
using testing::ClipboardContents;
using testing::json;
namespace stand_in = kindle_stand_in;

void expectSelection(const testing::CaptureOutcome& outcome, const std::string& passage) {
    ASSERT_TRUE(outcome.selection) << outcome.error.value_or("");
    const json& selection = *outcome.selection;
    EXPECT_EQ(selection["text"], passage);
    EXPECT_EQ(selection["context"], "");
    EXPECT_EQ(selection["captureMethod"], "kindle-standard-copy");
    EXPECT_EQ(selection["source"],
              json({{"app", "Kindle"}, {"bundleId", kindleBundleID}, {"title", stand_in::title},
                    {"chapter", stand_in::chapter}}));
}

TEST_F(CaptureEndToEnd, TheHotKeyWithKindleInFrontCapturesAndPutsTheUsersClipboardBack) {
    ASSERT_EQ(clipboard(), usersClipboard());
    ASSERT_TRUE(bringKindleForward());
    const size_t before = nativeEventCount();
    pressCaptureKey();
    const auto outcome = outcomeAfter(before);
    ASSERT_TRUE(outcome);
    expectSelection(*outcome, stand_in::passage);

    // Every target, byte for byte, served by a program that is still there (the shell, once
    // the owner of the user's clipboard has lost it to Kindle).
    EXPECT_EQ(clipboard(), usersClipboard());
    EXPECT_NE(clipboardOwner(), None);
}

TEST_F(CaptureEndToEnd, TheConsolesCaptureHandsTheFocusToKindleAndReturnToReadingGivesItBack) {
    ASSERT_TRUE(bringPanelForward());
    const size_t before = nativeEventCount();
    click("action-capture");
    const auto outcome = outcomeAfter(before);
    ASSERT_TRUE(outcome);
    expectSelection(*outcome, stand_in::passage);
    const json events = nativeEventsFrom(before);
    EXPECT_EQ(events.front()["type"], "captureStarted");
    EXPECT_EQ(clipboard(), usersClipboard());

    ASSERT_TRUE(bringPanelForward());
    click("action-returnToReading");
    EXPECT_TRUE(main_loop::runUntil([&] { return frontmostProcess() == kindle->pid(); }));
}

}  // namespace
}  // namespace brisel::gtk
