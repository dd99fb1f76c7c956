#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "capture/capture_texts.h"
#include "capture/kindle_capture.h"
#include "fakes/kindle_capture_harness.h"

namespace brisel {
namespace {

using Calls = std::vector<std::string>;
using Harness = testing::KindleCaptureHarness;
using testing::axElement;
using testing::kindleCopyOf;
using testing::plainTextContents;

std::string status(const char* error) { return std::string("status: ") + error; }

std::string repeated(const std::string& piece, size_t times) {
    std::string text;
    for (size_t i = 0; i < times; ++i) text += piece;
    return text;
}

class KindleCaptureCopyTest : public ::testing::Test {
protected:
    // Runs a capture with Kindle in front and notes when it ended, counted from the press.
    void captureAndWait(Duration limit = Duration(5000)) {
        h.host.onCall = [this](const std::string& call) {
            if (call.rfind("status", 0) == 0) endedAfter = h.elapsed(start);
        };
        start = h.queue.now();
        capture.requestCaptureFromKindle();
        h.queue.advance(limit);
    }

    std::optional<std::string> outcome() const {
        if (h.host.statuses.size() != 1) return "(" + std::to_string(h.host.statuses.size()) + " outcomes)";
        return h.host.statuses[0];
    }

    bool pressed() const { return !h.accessibility.actions().empty(); }

    Harness h;
    BriselKindleCapture& capture = h.make();
    Clock::time_point start;
    std::optional<Clock::duration> endedAfter;
};

TEST_F(KindleCaptureCopyTest, KindlesCopyAfter1900MillisecondsIsTaken) {
    h.kindleCopy.delay = Duration(1900);
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(1899));
    EXPECT_TRUE(h.host.statuses.empty());
    EXPECT_TRUE(capture.captureInFlight());
    h.queue.advance(Duration(1));
    EXPECT_EQ(h.host.calls, (Calls{"event: captureStarted", "showPanel", "status", "event: selection"}));
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
}

TEST_F(KindleCaptureCopyTest, NothingByTwoSecondsEndsTheWaitAtTwoSeconds) {
    h.kindleCopy.delay = Duration(2001);
    captureAndWait(Duration(2000));
    EXPECT_EQ(outcome(), capture_texts::noCopyReceived);
    EXPECT_EQ(endedAfter, Duration(2000));
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
    EXPECT_FALSE(capture.captureInFlight());
    // Kindle's late copy is no longer the capture's business.
    h.queue.advance(Duration(1000));
    EXPECT_EQ(h.host.statuses.size(), 1u);
    EXPECT_EQ(h.host.eventTypes(), std::vector<std::string>{"captureStarted"});
}

TEST_F(KindleCaptureCopyTest, ACopyArrivingRightAfterTheLastRoundIsRefused) {
    h.kindleCopy.text.reset();
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(2000));
    EXPECT_EQ(outcome(), capture_texts::noCopyReceived);
    h.pasteboard.replace(plainTextContents(kindleCopyOf("late")), "kindle");
    h.queue.advance(Duration(1000));
    EXPECT_EQ(h.host.statuses.size(), 1u);
}

TEST_F(KindleCaptureCopyTest, ACopyAlreadyThereWhenTheLastRoundRunsIsTaken) {
    h.kindleCopy.delay = Duration(2000);
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(2000));
    EXPECT_EQ(h.host.eventTypes(), (std::vector<std::string>{"captureStarted", "selection"}));
}

TEST_F(KindleCaptureCopyTest, TheClipboardIsReadEveryFiftyMilliseconds) {
    h.kindleCopy.text.reset();
    int countReads = 0;
    h.pasteboard.beforeRead = [&](const std::string& read) { countReads += read == "changeCount"; };
    captureAndWait();
    // Two reads for the snapshot, one before the press, then one per round at 0, 0.05, ... 2.0 s.
    EXPECT_EQ(countReads, 3 + 41);
    EXPECT_EQ(h.queue.pendingTasks(), 0u);
}

TEST_F(KindleCaptureCopyTest, BlankOrNonTextWritesAreWaitedPast) {
    h.kindleCopy.delay = Duration(500);
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(100));
    h.pasteboard.replace(plainTextContents(" \n\u3000"), "kindle");
    h.queue.advance(Duration(100));
    h.pasteboard.replace({{{"public.png", std::string("png")}}}, "kindle");
    h.queue.advance(Duration(1000));
    EXPECT_EQ(h.host.eventTypes(), (std::vector<std::string>{"captureStarted", "selection"}));
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
}

TEST_F(KindleCaptureCopyTest, AnEmptyClipboardIsLeftEmpty) {
    h.pasteboard.contents.clear();
    captureAndWait();
    EXPECT_EQ(h.host.eventTypes(), (std::vector<std::string>{"captureStarted", "selection"}));
    EXPECT_TRUE(h.pasteboard.contents.empty());
    EXPECT_EQ(h.pasteboard.clears, 1);
    EXPECT_TRUE(h.pasteboard.writes.empty());
}

TEST_F(KindleCaptureCopyTest, EveryItemAndEveryTypeIsPutBackInOneWrite) {
    captureAndWait();
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
    EXPECT_EQ(h.pasteboard.writes.size(), 1u);
    EXPECT_EQ(h.pasteboard.changes, (std::vector<std::string>{"kindle", "capture"}));
}

TEST_F(KindleCaptureCopyTest, TwoHundredFortyScalarsAreDeliveredAndOneMoreIsTooLong) {
    for (const auto& [passage, delivered] : std::vector<std::pair<std::string, bool>>{
             {repeated("あ", 240), true},
             {repeated("あ", 241), false},
             {repeated("👍🏽", 120), true},   // two scalars each
             {repeated("👍🏽", 120) + "a", false}}) {
        Harness other;
        auto& c = other.make();
        other.kindleCopy.text = kindleCopyOf(passage);
        c.requestCaptureFromKindle();
        other.queue.advance(Duration(3000));
        ASSERT_EQ(other.host.statuses.size(), 1u);
        if (delivered) {
            EXPECT_EQ(other.host.statuses[0], std::nullopt);
            EXPECT_EQ(other.host.events.back()["text"], passage);
        } else {
            EXPECT_EQ(other.host.statuses[0], capture_texts::passageTooLong);
        }
        EXPECT_EQ(other.pasteboard.contents, other.userClipboard);
    }
}

TEST_F(KindleCaptureCopyTest, AnUnverifiedCopyIsLeftOnTheClipboard) {
    h.kindleCopy.text = "Some passage without a citation.";
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::copyUnverified);
    EXPECT_EQ(h.pasteboard.contents, plainTextContents("Some passage without a citation."));
    EXPECT_EQ(h.pasteboard.clears, 0);
}

TEST_F(KindleCaptureCopyTest, KindleWritingTwiceWithinOneRoundIsNotTakenHalfWritten) {
    h.kindleCopy.delay = Duration(100);
    h.pasteboard.beforeRead = [&](const std::string& read) {
        if (read == "plainText") h.pasteboard.replace(plainTextContents(kindleCopyOf("second")), "kindle");
    };
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::copyUnverified);
    EXPECT_EQ(h.pasteboard.contents, plainTextContents(kindleCopyOf("second")));
}

// Right after a round's look at the count found no change: the next round takes the copy.
TEST_F(KindleCaptureCopyTest, KindleWritingRightAfterARoundSawNoChangeIsTakenByTheNext) {
    h.kindleCopy.text.reset();
    int countsAfterPress = 0;
    h.pasteboard.beforeRead = [&](const std::string& read) {
        if (read == "changeCount" && pressed() && ++countsAfterPress == 2) {
            h.pasteboard.replace(plainTextContents(kindleCopyOf(testing::kindlePassage)), "kindle");
        }
    };
    captureAndWait();
    EXPECT_EQ(outcome(), std::nullopt);
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
}

TEST_F(KindleCaptureCopyTest, SwitchingApplicationsDuringTheWaitEndsItAtTheNextRound) {
    h.kindleCopy.delay = Duration(500);
    h.queue.postAfter(Duration(220), [&] { h.applications.frontmostPID = Harness::editorPID; });
    captureAndWait(Duration(300));
    EXPECT_EQ(outcome(), capture_texts::switchedDuringCopy);
    EXPECT_EQ(endedAfter, Duration(250));
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
}

TEST_F(KindleCaptureCopyTest, AnotherKindleInFrontIsNotTheSource) {
    h.applications.add(502, Harness::kindleID);
    h.kindleCopy.delay = Duration(500);
    h.queue.postAfter(Duration(220), [&] { h.applications.frontmostPID = 502; });
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::switchedDuringCopy);
}

TEST_F(KindleCaptureCopyTest, KindleLosingTheFrontAfterItsCopyIsNotRestoredOver) {
    bool textRead = false;
    h.pasteboard.beforeRead = [&](const std::string& read) {
        if (read == "plainText") textRead = true;
        if (read == "changeCount" && textRead) h.applications.frontmostPID = Harness::editorPID;
    };
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::changedAfterCopy);
    EXPECT_EQ(h.pasteboard.contents, plainTextContents(kindleCopyOf(testing::kindlePassage)));
}

TEST_F(KindleCaptureCopyTest, AnotherProgramsWriteAfterKindleIsKept) {
    int readsAfterText = -1;
    h.pasteboard.beforeRead = [&](const std::string& read) {
        if (read == "plainText") readsAfterText = 0;
        if (read == "changeCount" && readsAfterText >= 0 && ++readsAfterText == 2) {
            h.pasteboard.replace(plainTextContents("the editor's text"), "other");
        }
    };
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::changedAfterCopy);
    EXPECT_EQ(h.pasteboard.contents, plainTextContents("the editor's text"));
    EXPECT_EQ(h.pasteboard.clears, 0);
}

TEST_F(KindleCaptureCopyTest, AnUnconfirmedPressRestoresButRefusesEvenAPerfectCopy) {
    h.kindleCopy.pressResult = accessibility_error::cannotComplete;
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::unconfirmedCopyRefused);
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
    EXPECT_EQ(h.host.eventTypes(), std::vector<std::string>{"captureStarted"});
}

TEST_F(KindleCaptureCopyTest, AnUnconfirmedPressWithoutACopyEndsAtTheDeadline) {
    h.kindleCopy.pressResult = accessibility_error::cannotComplete;
    h.kindleCopy.text.reset();
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::noCopyReceived);
    EXPECT_EQ(endedAfter, Duration(2000));
}

TEST_F(KindleCaptureCopyTest, AnyOtherPressErrorEndsAtOnce) {
    for (const int32_t error : {-25200, -25205, -25211, 1}) {
        Harness other;
        auto& c = other.make();
        other.kindleCopy.pressResult = error;
        other.kindleCopy.text.reset();
        c.requestCaptureFromKindle();
        other.queue.runUntilIdle();
        EXPECT_EQ(other.host.calls.back(), status(capture_texts::copyNotConfirmed)) << error;
        EXPECT_EQ(other.queue.pendingTasks(), 0u);
        EXPECT_EQ(other.pasteboard.contents, other.userClipboard);
    }
}

TEST_F(KindleCaptureCopyTest, ADisabledOrMissingCopyIsNeverPressed) {
    h.kindle.copyControl()->setEnabled(false);
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::copyUnavailable);
    EXPECT_FALSE(pressed());

    Harness other({.menuCopy = false});
    other.make().requestCaptureFromKindle();
    other.queue.runUntilIdle();
    EXPECT_EQ(other.host.calls.back(), status(capture_texts::copyUnavailable));
}

TEST_F(KindleCaptureCopyTest, AToolbarCopyIsPressedRatherThanTheMenus) {
    Harness other({.toolbarCopy = true});
    other.make().requestCaptureFromKindle();
    other.queue.runUntilIdle();
    EXPECT_EQ(other.accessibility.actions(), std::vector<std::string>{"toolbar copy AXPress"});
    EXPECT_EQ(other.host.eventTypes(), (std::vector<std::string>{"captureStarted", "selection"}));
}

TEST_F(KindleCaptureCopyTest, SwitchingApplicationsDuringTheSearchEndsTheCapture) {
    h.background.runsAtOnce = false;
    capture.requestCaptureFromKindle();
    h.applications.frontmostPID = Harness::editorPID;
    h.background.runNext();
    h.queue.runUntilIdle();
    EXPECT_EQ(outcome(), capture_texts::switchedDuringSearch);
    EXPECT_FALSE(pressed());
}

TEST_F(KindleCaptureCopyTest, CopyMustStillBeUsableWhenItIsPressed) {
    h.kindle.menuCopy->setEnabled(false);
    capture.copySelection(axElement(h.kindle.menuCopy), Harness::kindlePID);
    EXPECT_EQ(h.host.calls.back(), status(capture_texts::copyUnavailableChooseAgain));

    h.kindle.menuCopy->setEnabled(true);
    capture.copySelection(axElement(h.kindle.menuCopy), 502);
    EXPECT_EQ(h.host.calls.back(), status(capture_texts::copyUnavailableChooseAgain));
    EXPECT_FALSE(pressed());
}

TEST_F(KindleCaptureCopyTest, AClipboardThatCannotBeReadCompletelyIsNotRisked) {
    h.pasteboard.contents[1].push_back({"com.example.promised", std::nullopt});
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::clipboardCannotBeKept);
    EXPECT_FALSE(pressed());
}

TEST_F(KindleCaptureCopyTest, AClipboardWhoseOwnerWillNotSayWhatItHoldsIsNotRisked) {
    h.pasteboard.ownerRefuses = true;
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::clipboardCannotBeKept);
    EXPECT_FALSE(pressed());
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
    EXPECT_TRUE(h.pasteboard.changes.empty());
}

// An owner that must be asked answers later; the main queue keeps running meanwhile, and Copy
// is pressed in the turn the answer completes the snapshot, if nothing changed in between.
TEST_F(KindleCaptureCopyTest, ASnapshotAnsweredLaterIsPressedOnlyIfNothingChangedMeanwhile) {
    struct Case {
        const char* name;
        std::function<void(Harness&)> meanwhile;
        std::optional<const char*> outcome;  // none: the passage is delivered
    };
    for (const Case& c : std::vector<Case>{
             {"nothing", [](Harness&) {}, std::nullopt},
             {"another program copies",
              [](Harness& other) { other.pasteboard.replace(plainTextContents("editor"), "other"); },
              capture_texts::clipboardCannotBeKept},
             {"the user switches away", [](Harness& other) { other.applications.frontmostPID = Harness::editorPID; },
              capture_texts::changedBeforeCopy},
         }) {
        Harness other;
        auto& otherCapture = other.make();
        other.pasteboard.deliver = [&other](std::function<void()> answer) {
            other.queue.postAfter(Duration(300), std::move(answer));
        };
        otherCapture.requestCaptureFromKindle();
        other.queue.advance(Duration(100));
        ASSERT_EQ(other.pasteboard.readDeadlines.size(), 1u) << c.name;
        EXPECT_EQ(other.pasteboard.readDeadlines[0], other.queue.now() - Duration(100) + Duration(2000)) << c.name;
        EXPECT_TRUE(other.accessibility.actions().empty()) << c.name;
        c.meanwhile(other);
        other.queue.advance(Duration(200));
        EXPECT_EQ(other.accessibility.actions().empty(), c.outcome.has_value()) << c.name;
        other.queue.advance(Duration(3000));
        ASSERT_EQ(other.host.statuses.size(), 1u) << c.name;
        if (c.outcome) {
            EXPECT_EQ(other.host.statuses[0], *c.outcome) << c.name;
        } else {
            EXPECT_EQ(other.host.eventTypes().back(), "selection");
            EXPECT_EQ(other.pasteboard.contents, other.userClipboard);
        }
    }
}

TEST_F(KindleCaptureCopyTest, AClipboardChangingDuringTheSnapshotIsNotRisked) {
    h.pasteboard.beforeRead = [&](const std::string& read) {
        if (read == "items") h.pasteboard.replace(plainTextContents("other"), "other");
    };
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::clipboardCannotBeKept);
    EXPECT_FALSE(pressed());
}

TEST_F(KindleCaptureCopyTest, AChangeBetweenSnapshotAndPressStopsThePress) {
    int countReads = 0;
    h.pasteboard.beforeRead = [&](const std::string& read) {
        if (read == "changeCount" && ++countReads == 3) h.pasteboard.replace(plainTextContents("other"), "other");
    };
    captureAndWait();
    EXPECT_EQ(outcome(), capture_texts::changedBeforeCopy);
    EXPECT_FALSE(pressed());

    Harness other;
    auto& c = other.make();
    other.pasteboard.beforeRead = [&](const std::string& read) {
        if (read == "items") other.applications.frontmostPID = Harness::editorPID;
    };
    c.requestCaptureFromKindle();
    other.queue.runUntilIdle();
    EXPECT_EQ(other.host.calls.back(), status(capture_texts::changedBeforeCopy));
    EXPECT_TRUE(other.accessibility.actions().empty());
}

TEST_F(KindleCaptureCopyTest, TheSearchRunsOnAnotherThreadAndHopsBack) {
    testing::ThreadBackgroundQueue threads;
    auto threaded = std::make_unique<BriselKindleCapture>(
        KindleCapturePorts{h.queue, threads, h.pasteboard, h.accessibility, h.applications}, h.host);
    threaded->requestCaptureFromKindle();
    threads.joinAll();
    EXPECT_EQ(h.host.eventTypes(), std::vector<std::string>{"captureStarted"});
    h.queue.runUntilIdle();
    EXPECT_EQ(h.host.eventTypes(), (std::vector<std::string>{"captureStarted", "selection"}));
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
}

TEST_F(KindleCaptureCopyTest, ASearchOutlivingTheCaptureDoesNothing) {
    h.background.runsAtOnce = false;
    capture.requestCaptureFromKindle();
    h.capture.reset();
    h.background.runNext();
    h.queue.advance(Duration(5000));
    EXPECT_EQ(h.host.calls, Calls{"event: captureStarted"});
    EXPECT_FALSE(pressed());

    Harness other;
    other.kindleCopy.delay = Duration(500);
    other.make().requestCaptureFromKindle();
    other.capture.reset();
    other.queue.advance(Duration(5000));
    EXPECT_EQ(other.host.calls, Calls{"event: captureStarted"});
}

}  // namespace
}  // namespace brisel
