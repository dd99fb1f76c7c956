// Captures end to end on a real X desktop: the hot key typed on the X keyboard, Kindle's Copy
// pressed over the accessibility bus, the copy collected from the real X clipboard while the
// user's clipboard is held by another program, and the outcome read back from the page.
#include "gtk/capture_fixture.h"

#include <signal.h>

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
namespace texts = capture_texts;

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

// What the clipboard holds once a refused capture has ended.
enum class ClipboardAfter {
    usersBack,        // the user's, every target byte for byte
    ownerKept,        // untouched: the same program still owns it
    ownerGone,        // untouched: its owner went away by itself
    kindlesCopy,      // Kindle's copy, left as the sentence says or written after the capture
    othersWrite,      // what another program wrote after Kindle
};

struct Refusal {
    const char* name;
    std::vector<std::string> kindle;  // lines to the stand-in
    std::string userClipboard;        // how the user's clipboard is held
    const char* sentence;             // absent: the capture succeeds
    ClipboardAfter after;
    std::string kindlesCopy = {};
};

const std::vector<Refusal> refusals = {
    {"a copy at 1.9 s is taken", {"delay 1900"}, "own", nullptr, ClipboardAfter::usersBack},
    {"a foreign citation", {"citation foreign"}, "own", texts::copyUnverified, ClipboardAfter::kindlesCopy,
     stand_in::passage + "\n\n" + stand_in::foreignCitation},
    {"a passage over 240 scalars", {"passage long"}, "own", texts::passageTooLong, ClipboardAfter::usersBack},
    {"no copy at all", {"copy no"}, "own", texts::noCopyReceived, ClipboardAfter::usersBack},
    {"a copy at 2.1 s", {"delay 2100"}, "own", texts::noCopyReceived, ClipboardAfter::kindlesCopy,
     stand_in::passage + "\n\n" + stand_in::kindleCitation},
    {"Kindle hangs as the owner of its copy", {"owner hangs"}, "own", texts::noCopyReceived,
     ClipboardAfter::kindlesCopy, stand_in::passage + "\n\n" + stand_in::kindleCitation},
    {"another program writes after Kindle", {"interfere after"}, "own", texts::copyUnverified,
     ClipboardAfter::othersWrite},
    {"a disabled Copy", {"control disabled"}, "own", texts::copyUnavailable, ClipboardAfter::usersBack},
    {"a Copy that vanishes between search and press", {"control vanishes"}, "own", texts::copyUnavailable,
     ClipboardAfter::usersBack},
    {"the user's clipboard owner hangs", {}, "hostile hang", texts::clipboardCannotBeKept, ClipboardAfter::ownerKept},
    {"the user's clipboard owner refuses", {}, "hostile refuse", texts::clipboardCannotBeKept,
     ClipboardAfter::ownerKept},
    {"the user's clipboard owner goes mid-read", {}, "hostile vanish", texts::clipboardCannotBeKept,
     ClipboardAfter::ownerGone},
};

TEST_F(CaptureEndToEnd, EachRefusalEndsInItsSentenceAndLeavesTheClipboardByItsRule) {
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.name);
        tell("reset");
        holdUserClipboard(refusal.userClipboard);
        for (const std::string& line : refusal.kindle) tell(line);
        const Window owner = clipboardOwner();
        ASSERT_TRUE(bringKindleForward());
        const size_t before = nativeEventCount();
        pressCaptureKey();
        const auto outcome = outcomeAfter(before);
        ASSERT_TRUE(outcome);
        if (refusal.sentence) {
            EXPECT_EQ(outcome->error, refusal.sentence);
        } else {
            expectSelection(*outcome, stand_in::passage);
        }
        // Kindle's copy that the capture did not take is on the clipboard once Kindle has made
        // it; a stopped Kindle is woken up to serve it.
        if (refusal.after == ClipboardAfter::kindlesCopy) {
            ASSERT_FALSE(lineFromKindle("copied").empty());
            kill(kindle->pid(), SIGCONT);
        }
        switch (refusal.after) {
        case ClipboardAfter::usersBack: EXPECT_EQ(clipboard(), usersClipboard()); break;
        case ClipboardAfter::ownerKept: EXPECT_EQ(clipboardOwner(), owner); break;
        case ClipboardAfter::ownerGone: EXPECT_EQ(clipboardOwner(), None); break;
        case ClipboardAfter::kindlesCopy: EXPECT_EQ(clipboardTarget("UTF8_STRING"), refusal.kindlesCopy); break;
        case ClipboardAfter::othersWrite: EXPECT_EQ(clipboardTarget("UTF8_STRING"), stand_in::interference); break;
        }
        EXPECT_FALSE(shell.companion().capture().captureHandoffInFlight());
    }
}

}  // namespace
}  // namespace brisel::gtk
