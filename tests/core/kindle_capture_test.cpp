#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "capture/capture_texts.h"
#include "fakes/kindle_capture_harness.h"

namespace brisel {
namespace {

using namespace capture_texts;
using namespace std::chrono_literals;
using nlohmann::json;
using Calls = std::vector<std::string>;
using Harness = testing::KindleCaptureHarness;
using Knob = std::function<void(Harness&)>;
using testing::kindleCopyOf;
using testing::plainText;

const std::string measurementID = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

// 120 two-scalar emoji: 240 scalars, 480 UTF-16 units, 960 bytes.
const std::string emoji120 = [] { std::string text; for (int i = 0; i < 120; ++i) text += "👍🏽"; return text; }();
void fromPanel(Harness& h) { h.applications.frontmostPID = Harness::companionPID; }
void switchAway(Harness& h) { h.applications.frontmostPID = Harness::editorPID; }
void otherCopies(Harness& h) { h.pasteboard.replace(plainText("the editor's"), "other"); }
void copyGreyedOut(Harness& h) { h.kindle.menuCopy->attributes["AXEnabled"] = 0.0; }
// Runs `then` at the `nth` pasteboard read of `kind`, counted from the read of the copy's text
// when `afterText`.
Knob atRead(const std::string& kind, int nth, void (*then)(Harness&), bool afterText = false) {
    return [=](Harness& h) {
        h.pasteboard.beforeRead = [&h, kind, nth, then, counting = !afterText, n = 0](const std::string& read) mutable {
            counting = counting || read == "text";
            if (counting && read == kind && ++n == nth) then(h);
        };
    };
}
// Runs `then` on the main queue before the search's find gets there.
Knob beforeTheHop(void (*then)(Harness&)) { return [then](Harness& h) { h.queue.post([&h, then] { then(h); }); }; }
void kindleCopies(Harness& h) { h.pasteboard.replace(plainText(kindleCopyOf("Some passage.")), "kindle"); }

// What the clipboard must be when the capture ends: nobody wrote, the user's items are back over
// Kindle's copy, or the last write stays: Kindle's (as the sentence says) or another program's.
const std::string untouched, restored = "restored", kindles = "kindle", others = "other";

TEST(KindleCapture, EndsInOneSentenceOrTheSelectionAndLeavesTheClipboardAsItSays) {
    const std::vector<std::tuple<const char*, const char*, std::string, Knob>> rows = {
        {"another application in front", selectInKindle, untouched, switchAway},
        {"nothing in front", selectInKindle, untouched, [](auto& h) { h.applications.frontmostPID.reset(); }},
        {"Kindle not running", openKindle, untouched, [](auto& h) { fromPanel(h); h.applications.terminate(Harness::kindlePID); }},
        {"the page not loaded", pageNotReady, untouched, [](auto& h) { h.host.ready = false; }},
        {"no accessibility permission", allowAccessibility, untouched, [](auto& h) { h.accessibility.trusted = false; }},
        {"switched away during the search", switchedDuringSearch, untouched, beforeTheHop(switchAway)},
        {"Copy greyed out", copyUnavailable, untouched, copyGreyedOut},
        {"Copy greyed out after the search", copyUnavailableChooseAgain, untouched, beforeTheHop(copyGreyedOut)},
        {"an owner that will not tell", clipboardCannotBeKept, untouched, [](auto& h) { h.pasteboard.ownerRefuses = true; }},
        {"a copy during the snapshot", clipboardCannotBeKept, others, atRead("items", 1, otherCopies)},
        {"a copy before the press", changedBeforeCopy, others, atRead("changeCount", 3, otherCopies)},
        {"switched away before the press", changedBeforeCopy, untouched, atRead("items", 1, switchAway)},
        {"the press fails", copyNotConfirmed, untouched, [](auto& h) { h.pressResult = -25205; h.copied.reset(); }},
        {"Kindle's process identifier taken over", switchedDuringCopy, untouched,
         [](auto& h) { h.copied.reset(); h.queue.postAfter(220ms, [&h] { h.applications.running[1].bundleID = "x"; }); }},
        {"no citation", copyUnverified, kindles, [](auto& h) { h.copied = "Some passage."; }},
        {"Kindle writes again while its copy is read", copyUnverified, kindles,
         atRead("text", 1, [](auto& h) { h.pasteboard.replace(plainText("Again."), "kindle"); })},
        {"switched away after Kindle's copy", changedAfterCopy, kindles, atRead("changeCount", 1, switchAway, true)},
        {"a copy after Kindle's", changedAfterCopy, others, atRead("changeCount", 2, otherCopies, true)},
        {"an unconfirmed press of a good copy", unconfirmedCopyRefused, restored, [](auto& h) { h.pressResult = -25204; }},
        // Scalars are counted, not bytes, UTF-16 units, characters or the citation's length.
        {"241 scalars in 121 characters", passageTooLong, restored, [](auto& h) { h.copied = kindleCopyOf(emoji120 + "a"); }},
        {"240 scalars, with a long citation", "selection", restored,
         [](auto& h) { h.copied = emoji120 + "\n\nDoe, Jane. " + std::string(600, 't') + " (p. 1). Kindle Edition."; }},
        {"Kindle copies right after a round saw no change", "selection", restored,
         [](auto& h) { h.copied.reset(); atRead("changeCount", 5, kindleCopies)(h); }},
        {"blank and image writes waited past", "selection", restored, [](auto& h) {
             h.copyDelay = 500ms;
             h.queue.postAfter(100ms, [&h] { h.pasteboard.replace(plainText(" \n\u3000"), "kindle"); });
             h.queue.postAfter(200ms, [&h] { h.pasteboard.replace({{{"public.png", "png"}}}, "kindle"); }); }},
    };
    for (const auto& [why, outcome, clipboard, knob] : rows) {
        SCOPED_TRACE(why);
        Harness h;
        knob(h);
        const auto before = h.pasteboard.contents;
        // The capture is over before the panel shows, and a refusal's sentence comes right after.
        h.host.onCall = [&h](const std::string& call) { EXPECT_FALSE(call == "showPanel" && h.capture->captureInFlight()); };
        h.request();
        ASSERT_EQ(h.outcome(), outcome);
        EXPECT_FALSE(h.capture->captureInFlight() || h.capture->captureHandoffInFlight());
        const Calls ending(h.host.calls.end() - 2, h.host.calls.end());
        if (outcome != std::string("selection")) EXPECT_EQ(ending, (Calls{"showPanel", "status: " + h.outcome()}));
        const auto& log = h.pasteboard.log;
        if (clipboard == restored) EXPECT_TRUE(h.pasteboard.contents == before && std::ranges::count(log, "clear") == 1);
        else EXPECT_EQ(log.empty() ? untouched : log.back(), clipboard);
    }
}

TEST(KindleCapture, DeliversKindlesPassageAndPutsEveryItemBackInOneWrite) {
    Harness h;
    h.request(0ms);
    EXPECT_EQ(h.host.calls, (Calls{"event: captureStarted", "showPanel", "status", "event: selection"}));
    EXPECT_EQ(h.host.events.back(), json::parse(R"({"type": "selection", "text": "Some passage.", "context": "",
        "source": {"app": "Kindle", "bundleId": "com.amazon.Lassen", "title": "A Title", "chapter": "p. 12"},
        "captureMethod": "kindle-standard-copy"})"));
    EXPECT_EQ(h.pasteboard.log, (Calls{"kindle", "clear", "write"}));
    EXPECT_EQ(h.accessibility.calls.front(), "trusted?");
}

// Kindle's copy is looked for every 0.05 s; the last look, at 2.0 s, still takes a copy already
// there. After a hand-off, Kindle is looked for every 0.1 s until 2.0 s.
TEST(KindleCapture, WaitsTwoSecondsForKindlesCopyAndForKindle) {
    const std::vector<std::tuple<int, int, const char*, int>> rows = {  // copy at, in front at, outcome, when
        {1900, 0, "selection", 1900}, {1950, 0, "selection", 1950}, {2000, 0, "selection", 2000},
        {2001, 0, noCopyReceived, 2000}, {0, 150, "selection", 200}, {0, 1900, "selection", 1900},
        {0, 2050, kindleNotBroughtForward, 2000},
    };
    for (const auto& [copyAt, inFrontAt, outcome, endedAt] : rows) {
        SCOPED_TRACE(std::to_string(copyAt) + " " + std::to_string(inFrontAt));
        Harness h;
        if (copyAt) h.copyDelay = Duration(copyAt);
        if (inFrontAt) fromPanel(h);
        h.activationTakes(Duration(inFrontAt));
        h.request(Duration(endedAt - 1));
        EXPECT_EQ(h.outcome(), "0 outcomes");
        h.queue.advance(1ms);
        EXPECT_EQ(h.outcome(), outcome);
        EXPECT_FALSE(h.capture->captureHandoffInFlight());
    }
}

// The search tells whether Copy is enabled in the background and presses it only on the main
// queue; a capture gone before the search, with its hop pending, or during the wait does nothing.
TEST(KindleCapture, NothingHappensOnceTheCaptureIsGone) {
    for (const int goneAfter : {-1, 0, 100}) {
        Harness h;
        h.background.runsAtOnce = false;
        h.copyDelay = 500ms;
        h.capture->requestCaptureFromKindle();
        if (goneAfter >= 0) h.background.runHeld();
        if (goneAfter == 0) EXPECT_EQ(h.accessibility.calls.back(), "menu copy.AXEnabled");
        if (goneAfter > 0) h.queue.advance(Duration(goneAfter));
        h.capture.reset();
        h.background.runHeld();
        h.queue.advance(5000ms);
        EXPECT_EQ(h.host.calls, Calls{"event: captureStarted"}) << goneAfter;
    }
}

TEST(KindleCapture, ASecondRequestIsIgnoredWhileACaptureOrAHandOffRuns) {
    Harness capturing;
    capturing.background.runsAtOnce = false;
    capturing.request(0ms);
    capturing.capture->captureFromKindle();
    capturing.request(0ms);
    fromPanel(capturing);
    capturing.request(0ms);
    EXPECT_EQ(capturing.host.calls, Calls{"event: captureStarted"});

    Harness handingOff;
    fromPanel(handingOff);
    handingOff.activationTakes(300ms);
    handingOff.request(100ms);
    handingOff.request();
    EXPECT_EQ(handingOff.host.calls, (Calls{"event: captureStarted", "orderOutPanel", "event: captureStarted", "showPanel",
                                            "status", "event: selection"}));
}

TEST(KindleCapture, HandsOffToTheKindleOfTheLastCaptureWhileItRuns) {
    Harness h;
    h.applications.running.push_back({502, "com.amazon.Lassen"});
    h.accessibility.applications[502] = h.kindle.application;
    h.applications.frontmostPID = 502;
    h.request();
    h.capture->returnToReading(std::nullopt, false);
    h.applications.terminate(502);
    h.capture->returnToReading(std::nullopt, false);
    EXPECT_EQ(h.applications.activations, (std::vector<int32_t>{502, Harness::kindlePID}));
}

// A return to reading supersedes a capture's hand-off, even with no Kindle left to return to,
// and a newer return an older one.
TEST(KindleCapture, OnlyTheNewestHandOffReports) {
    Harness gone;
    fromPanel(gone);
    gone.activationTakes(std::nullopt);
    gone.request(500ms);
    gone.applications.terminate(Harness::kindlePID);
    gone.capture->returnToReading(std::nullopt, false);
    gone.queue.advance(5000ms);
    EXPECT_EQ(gone.outcome(), "0 outcomes");

    Harness h;
    fromPanel(h);
    h.activationTakes(std::nullopt);
    h.request(500ms);
    h.capture->returnToReading("a" + measurementID.substr(1), false);
    EXPECT_FALSE(h.capture->captureHandoffInFlight());
    h.queue.advance(1000ms);
    h.activationTakes(100ms);
    h.capture->returnToReading(measurementID, false);
    h.queue.advance(5000ms);
    EXPECT_EQ(h.host.calls, (Calls{"event: captureStarted", "invalidateSignIn", "invalidateSignIn", "orderOutPanel",
                                   "event: readingReturned"}));
    EXPECT_EQ(h.host.events.back()["measurementId"], measurementID);
}

TEST(KindleCapture, OnlyA64DigitLowerCaseHexIdentifierIsReported) {
    Harness h;
    h.capture->reportReadingReturn(measurementID, false, true);
    // Nothing may follow the 64 digits, not even a final line break.
    for (const std::optional<std::string>& id : std::vector<std::optional<std::string>>{std::nullopt, measurementID.substr(1),
             measurementID + "0", "A" + measurementID.substr(1), "g" + measurementID.substr(1), measurementID + "\n"}) {
        h.capture->reportReadingReturn(id, false, true);
        EXPECT_EQ(h.host.events.size(), 1u) << id.value_or("(none)");
    }
}

// A return after a save hands the focus back to Kindle, and says whether Kindle came forward;
// only from the focused panel while nothing runs.
TEST(KindleCapture, ReturnAfterSaveHandsTheFocusBackToKindle) {
    const Calls returned{"invalidateSignIn", "orderOutPanel", "event: readingReturned"};
    const Calls failed{"invalidateSignIn", "event: readingReturned", "showPanel", std::string("status: ") + returnNotPossible};
    for (const auto& [why, knob, calls] : std::vector<std::tuple<const char*, Knob, Calls>>{
             {"Kindle in front", [](auto&) {}, returned},
             {"Kindle never in front", [](auto& h) { fromPanel(h); h.activationTakes(std::nullopt); }, failed},
             {"Kindle not running", [](auto& h) { fromPanel(h); h.applications.terminate(Harness::kindlePID); }, returned},
             {"another application active", [](auto& h) { h.host.active = false; }, {}},
             {"the panel not the key window", [](auto& h) { h.host.panelKey = false; }, {}},
             {"a capture running", [](auto& h) { h.background.runsAtOnce = false; h.request(0ms); }, {}},
             {"a hand-off running", [](auto& h) { fromPanel(h); h.request(0ms); }, {}}}) {
        Harness h;
        knob(h);
        h.host.calls.clear();
        h.capture->returnAfterSave(measurementID);
        if (!calls.empty()) h.queue.advance(5000ms);
        EXPECT_EQ(h.host.calls, calls) << why;
        const json reported{{"type", "readingReturned"}, {"measurementId", measurementID}, {"saved", true},
                            {"success", h.applications.frontmostPID == Harness::kindlePID}};
        if (!calls.empty()) EXPECT_EQ(h.host.events.back(), reported) << why;
    }
}

// Captures with everything around them at random: when and what Kindle copies, other programs
// writing (even between two reads of one round), the user switching away, clipboards that cannot
// be read, every kind of press result. Each ends in exactly one outcome, the capture writes only
// right over Kindle's own copy, and the user's clipboard is back exactly when the outcome says so.
const std::set<std::string> restoring = {"selection", passageTooLong, unconfirmedCopyRefused};
const std::set<std::string> leavingKindlesCopy = {copyUnverified, switchedDuringCopy, changedAfterCopy};

struct Dice {
    std::mt19937 engine{42};
    bool chance(double p) { return std::bernoulli_distribution(p)(engine); }
    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine); }
    std::optional<Duration> sometimes(double p, int low, int high) {
        return chance(p) ? std::optional(Duration(between(low, high))) : std::nullopt;
    }
    std::string passage() {
        std::string text = "P.";
        for (int i = chance(0.2) ? between(230, 250) : between(1, 60); i > 2; --i) text.insert(1, chance(0.5) ? "語" : "a");
        return text;
    }
    std::string kindleText() {
        return chance(0.8) ? kindleCopyOf(passage()) : passage() + "\n\nDoe, Jane. A Title (p. 12). Kindle";
    }
};

TEST(ClipboardSafety, TheUsersClipboardSurvivesEveryCapture) {
    std::set<std::string> outcomes;
    Dice dice;
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE("capture " + std::to_string(round));
        Harness h;
        // The user's note and image, an empty clipboard, or an item whose promised type never comes.
        if (dice.chance(0.2)) h.pasteboard.contents.clear();
        else if (dice.chance(0.03)) h.pasteboard.contents[0].push_back({"com.example.promised", std::nullopt});
        const int press = dice.between(0, 99);
        h.pressResult = press < 75 ? 0 : press < 90 ? accessibility_error::cannotComplete : -25205;
        h.copied = press < 90 && dice.chance(0.9) ? std::optional(dice.kindleText()) : std::nullopt;
        h.copyDelay = dice.sometimes(0.6, 1, 2500);
        for (int writes = dice.chance(0.35) ? dice.between(1, 3) : 0; writes > 0; --writes) {  // blank or text
            const auto write = [&h, text = dice.chance(0.6) ? dice.passage() : " "] { h.pasteboard.replace(plainText(text), "other"); };
            h.queue.postAfter(Duration(dice.between(0, 3000)), write);
        }
        if (const auto away = dice.sometimes(0.15, 0, 2500)) h.queue.postAfter(*away, [&h] { switchAway(h); });

        // The clipboard when Copy was pressed, and when the outcome came.
        std::optional<testing::FakePasteboardContents> atPress;
        h.accessibility.onCall = [&](auto& call) { if (call.ends_with("AXPress")) atPress = h.pasteboard.contents; };
        std::optional<std::pair<testing::FakePasteboardContents, std::vector<std::string>>> atOutcome;
        h.host.onCall = [&](auto& call) { if (call.starts_with("status")) atOutcome = {h.pasteboard.contents, h.pasteboard.log}; };
        // A write between two reads: another program's at any time, Kindle's once it was pressed.
        if (dice.chance(0.2)) {
            const bool kindle = dice.chance(0.4);
            h.pasteboard.beforeRead = [&h, &atPress, kindle, at = dice.between(1, kindle ? 6 : 24), reads = 0,
                                       text = kindle ? dice.kindleText() : dice.passage()](const std::string&) mutable {
                if ((atPress || !kindle) && ++reads == at) h.pasteboard.replace(plainText(text), kindle ? "kindle" : "other");
            };
        }

        h.request(Duration(10000));

        const std::string outcome = h.outcome();
        outcomes.insert(outcome);
        ASSERT_FALSE(outcome.ends_with(" outcomes")) << outcome;
        ASSERT_EQ(h.queue.pendingTasks(), 0u);
        const auto& [contents, log] = *atOutcome;
        const auto clear = std::find(log.begin(), log.end(), "clear");
        EXPECT_EQ(clear != log.end(), restoring.count(outcome) == 1) << outcome;
        EXPECT_EQ(std::count(h.pasteboard.log.begin(), h.pasteboard.log.end(), "clear"), clear != log.end() ? 1 : 0);
        if (clear != log.end()) {
            EXPECT_TRUE(clear != log.begin() && clear[-1] == "kindle") << "wrote over somebody else's clipboard";
            EXPECT_EQ(contents, atPress.value());
        } else if (!log.empty() && log.back() == "kindle") {
            EXPECT_EQ(leavingKindlesCopy.count(outcome), 1u) << outcome;
        }
        if (outcome == clipboardCannotBeKept) EXPECT_FALSE(atPress) << "pressed without a snapshot";
    }
    EXPECT_EQ(outcomes.size(), 10u) << "the chances reach every outcome once Copy is found";
}

}  // namespace
}  // namespace brisel
