// Captures with everything around them at random: when and what Kindle copies, other programs
// writing (even between two reads of one round), the user switching away, clipboards that cannot
// be read, every kind of press result. Each ends in exactly one outcome, the capture writes only
// right over Kindle's own copy, and the user's clipboard is back exactly when the outcome says so.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "capture/capture_texts.h"
#include "fakes/kindle_capture_harness.h"

namespace brisel {
namespace {

using namespace capture_texts;
using Harness = testing::KindleCaptureHarness;
using testing::plainText;

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
        return chance(0.8) ? testing::kindleCopyOf(passage()) : passage() + "\n\nDoe, Jane. A Title (p. 12). Kindle";
    }
};

void capture(Dice& dice, std::set<std::string>& outcomes) {
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
    const auto away = dice.sometimes(0.15, 0, 2500);
    if (away) h.queue.postAfter(*away, [&h] { h.applications.frontmostPID = Harness::editorPID; });

    // The clipboard when Copy was pressed, and when the outcome came.
    std::optional<testing::FakePasteboardContents> atPress;
    h.accessibility.onCall = [&](const std::string& call) {
        if (call.ends_with("AXPress")) atPress = h.pasteboard.contents;
    };
    std::optional<std::pair<testing::FakePasteboardContents, std::vector<std::string>>> atOutcome;
    h.host.onCall = [&](const std::string& call) {
        if (call.starts_with("status")) atOutcome = {h.pasteboard.contents, h.pasteboard.log};
    };
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
    EXPECT_FALSE(h.capture->captureInFlight() || h.capture->captureHandoffInFlight());
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

TEST(ClipboardSafety, TheUsersClipboardSurvivesEveryCapture) {
    std::set<std::string> outcomes;
    Dice dice;
    for (int round = 0; round < 3000 && !::testing::Test::HasFatalFailure(); ++round) {
        SCOPED_TRACE("capture " + std::to_string(round));
        capture(dice, outcomes);
    }
    EXPECT_EQ(outcomes.size(), 10u) << "the chances reach every outcome once Copy is found";
}

}  // namespace
}  // namespace brisel
