// Many captures on the fakes with everything around them at random: when Kindle copies, other
// programs writing, the user switching away, writes landing between two reads of one round,
// unreadable clipboard types and every kind of press result. After each one the user's
// clipboard must be intact except where the capture says it is not.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "capture/capture_texts.h"
#include "capture/kindle_capture.h"
#include "fakes/kindle_capture_harness.h"

namespace brisel {
namespace {

using Harness = testing::KindleCaptureHarness;
using testing::FakePasteboardContents;
using testing::kindleCopyOf;
using testing::plainTextContents;

constexpr const char* delivered = "(selection)";

class Dice {
public:
    explicit Dice(uint32_t seed) : engine_(seed) {}
    bool chance(double p) { return std::bernoulli_distribution(p)(engine_); }
    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine_); }
    Duration milliseconds(int low, int high) { return Duration(between(low, high)); }
    template <typename T>
    const T& pick(const std::vector<T>& values) { return values[static_cast<size_t>(between(0, static_cast<int>(values.size()) - 1))]; }

    std::string bytes(int maximum) {
        std::string text(static_cast<size_t>(between(0, maximum)), '\0');
        for (auto& c : text) c = static_cast<char>(between(0, 255));
        return text;
    }

    FakePasteboardContents clipboard() {
        static const std::vector<std::string> types = {"public.utf8-plain-text", "public.rtf", "public.html",
                                                       "public.png", "public.tiff", "com.example.custom"};
        FakePasteboardContents contents;
        const int items = between(0, 3);
        for (int i = 0; i < items; ++i) {
            auto& item = contents.emplace_back();
            std::set<std::string> used;
            const int count = between(1, 4);
            for (int t = 0; t < count; ++t) {
                const std::string type = pick(types);
                if (!used.insert(type).second) continue;
                item.push_back({type, bytes(64)});
            }
        }
        if (!contents.empty() && chance(0.05)) contents.back().push_back({"com.example.promised", std::nullopt});
        return contents;
    }

    std::string passage() {
        static const std::vector<std::string> pieces = {"a", "Z", " ", "語", "の", "👍🏽", "é", "\n", "ー"};
        std::string text = "P";
        const int length = chance(0.2) ? between(230, 250) : between(1, 60);
        for (int i = 1; i < length; ++i) text += pick(pieces);
        return text + ".";
    }

    std::string kindleText() {
        if (chance(0.8)) return kindleCopyOf(passage());
        return pick(std::vector<std::string>{"no citation at all", passage() + "\n\nDoe, Jane. A Title (p. 12). Kindle Edition",
                                             "\n\n" + std::string(testing::kindleCitation)});
    }

private:
    std::mt19937 engine_;
};

// What the pasteboard looked like when the capture reported its outcome.
struct Outcome {
    std::string message;
    FakePasteboardContents contents;
    std::vector<std::string> changes;
    size_t writes = 0;
};

void runCaptures(uint32_t seed, int captures, std::map<std::string, int>& tally) {
    Dice dice(seed);
    Harness h;
    BriselKindleCapture& capture = h.make();

    const std::set<std::string> restoredOutcomes = {delivered, capture_texts::passageTooLong,
                                                    capture_texts::unconfirmedCopyRefused};
    // Where the capture may end with Kindle's copy still on the clipboard, and says so.
    const std::set<std::string> keptKindlesCopy = {capture_texts::copyUnverified, capture_texts::switchedDuringCopy,
                                                   capture_texts::changedAfterCopy};

    for (int round = 0; round < captures; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", capture " + std::to_string(round));

        // The desktop, Kindle and the user's clipboard for this capture.
        h.useTree({.toolbarCopy = dice.chance(0.3), .menuCopy = dice.chance(0.93),
                   .copyLabel = dice.chance(0.5) ? "コピー" : "Copy"});
        if (const auto control = h.kindle.copyControl()) control->setEnabled(dice.chance(0.93));
        h.accessibility.trusted = dice.chance(0.97);
        h.host.ready = dice.chance(0.97);
        const FakePasteboardContents user = dice.clipboard();
        h.pasteboard.contents = user;
        h.pasteboard.changes.clear();
        h.pasteboard.writes.clear();
        h.pasteboard.beforeRead = nullptr;
        h.pasteboard.count += dice.between(1, 5);
        h.host.forget();
        const size_t actionsBefore = h.accessibility.actions().size();

        const int pressDice = dice.between(0, 99);
        h.kindleCopy.pressResult = pressDice < 75 ? accessibility_error::success
                                   : pressDice < 90 ? accessibility_error::cannotComplete
                                                    : dice.pick(std::vector<int32_t>{-25200, -25205, -25206});
        // An error other than "cannot complete" means the press was not carried out.
        const bool kindleCopies = h.kindleCopy.pressResult != -25200 && h.kindleCopy.pressResult != -25205 &&
                                  h.kindleCopy.pressResult != -25206 && dice.chance(0.9);
        h.kindleCopy.text = kindleCopies ? std::optional<std::string>(dice.kindleText()) : std::nullopt;
        h.kindleCopy.delay = dice.chance(0.4) ? std::nullopt : std::optional<Duration>(dice.milliseconds(1, 2500));
        const bool writesTwice = kindleCopies && dice.chance(0.1);
        const Duration again = dice.milliseconds(0, 120);
        const std::string second = dice.kindleText();

        // Writes landing between two reads of one round: another program's at any time, Kindle's
        // only once it has been asked to copy.
        std::function<void(const std::string&)> betweenReads;
        bool kindleWritesBetweenReads = false;
        if (dice.chance(0.2)) {
            kindleWritesBetweenReads = dice.chance(0.4);
            const bool fromTheStart = !kindleWritesBetweenReads && dice.chance(0.4);
            // After the press, the reads that matter come first: the change count, the text,
            // the change count again, and the restore's.
            const int atRead = fromTheStart ? dice.between(1, 24) : dice.between(1, 6);
            const std::string text = kindleWritesBetweenReads ? dice.kindleText() : dice.passage();
            const std::string writer = kindleWritesBetweenReads ? "kindle" : "other";
            auto reads = std::make_shared<int>(0);
            betweenReads = [&h, atRead, text, writer, reads](const std::string&) {
                if (++*reads == atRead) h.pasteboard.replace(plainTextContents(text), writer);
            };
            if (fromTheStart) h.pasteboard.beforeRead = betweenReads;
        }
        const bool armAtPress = betweenReads && !h.pasteboard.beforeRead;

        // What the clipboard held when Copy was pressed: what a restore must bring back.
        std::optional<FakePasteboardContents> atPress;
        size_t changesBeforePress = 0;
        for (const auto& control : {h.kindle.toolbarCopy, h.kindle.menuCopy}) {
            if (!control) continue;
            control->onPress = [&, again, second, writesTwice, armAtPress, betweenReads] {
                atPress = h.pasteboard.contents;
                changesBeforePress = h.pasteboard.changes.size();
                if (armAtPress) h.pasteboard.beforeRead = betweenReads;
                const int32_t result = h.pressKindleCopy();
                if (writesTwice) {
                    h.queue.postAfter(again, [&h, second] { h.pasteboard.replace(plainTextContents(second), "kindle"); });
                }
                return result;
            };
        }

        const bool fromPanel = dice.chance(0.3);
        h.applications.frontmostPID = fromPanel ? Harness::companionPID : Harness::kindlePID;
        h.activationTakes(dice.chance(0.1) ? std::nullopt : std::optional<Duration>(dice.milliseconds(0, 2300)));

        // Other programs and the user's focus. Nothing but Kindle writes Kindle's citation: a
        // program that forges it while Kindle is in front cannot be told apart.
        const int otherWrites = dice.chance(0.35) ? dice.between(1, 3) : 0;
        for (int i = 0; i < otherWrites; ++i) {
            FakePasteboardContents written = dice.chance(0.6) ? plainTextContents(dice.passage())
                                                              : FakePasteboardContents{{{"public.png", dice.bytes(32)}}};
            h.queue.postAfter(dice.milliseconds(0, 3000), [&h, written] { h.pasteboard.replace(written, "other"); });
        }
        if (dice.chance(0.15)) {
            h.queue.postAfter(dice.milliseconds(0, 2500), [&h] { h.applications.frontmostPID = Harness::editorPID; });
            if (dice.chance(0.5)) {
                h.queue.postAfter(dice.milliseconds(2500, 2800), [&h] { h.applications.frontmostPID = Harness::kindlePID; });
            }
        }
        h.background.runsAtOnce = dice.chance(0.7);
        const int searchAfterTicks = dice.between(0, 30);

        std::vector<Outcome> outcomes;
        h.host.onCall = [&](const std::string& call) {
            if (call.rfind("status", 0) != 0) return;
            outcomes.push_back({call == "status" ? delivered : call.substr(8), h.pasteboard.contents,
                                h.pasteboard.changes, h.pasteboard.writes.size()});
        };

        capture.requestCaptureFromKindle();
        // The hot key pressed again while the first capture runs: ignored.
        if (dice.chance(0.1) && (capture.captureInFlight() || capture.captureHandoffInFlight())) {
            capture.requestCaptureFromKindle();
        }
        for (int tick = 0; tick < 700; ++tick) {
            if (tick >= searchAfterTicks) h.background.runNext();
            h.queue.advance(Duration(10));
        }
        while (h.background.runNext()) h.queue.advance(Duration(10));
        h.queue.advance(Duration(3000));

        // Exactly one outcome, and nothing left running.
        ASSERT_EQ(outcomes.size(), 1u) << ::testing::PrintToString(h.host.calls);
        EXPECT_FALSE(capture.captureInFlight());
        EXPECT_FALSE(capture.captureHandoffInFlight());
        EXPECT_EQ(h.queue.pendingTasks(), 0u);
        const Outcome& outcome = outcomes[0];
        tally[outcome.message]++;
        const auto types = h.host.eventTypes();
        EXPECT_EQ(std::count(types.begin(), types.end(), "selection"), outcome.message == delivered ? 1 : 0);

        // The capture changes the clipboard at most once, right over Kindle's own write.
        std::vector<size_t> own;
        for (size_t i = 0; i < h.pasteboard.changes.size(); ++i) {
            if (h.pasteboard.changes[i] == "capture") own.push_back(i);
        }
        ASSERT_LE(own.size(), 1u);
        const bool restored = !own.empty();
        if (restored) {
            ASSERT_GT(own[0], 0u);
            EXPECT_EQ(h.pasteboard.changes[own[0] - 1], "kindle") << "wrote over somebody else's clipboard";
            EXPECT_LT(own[0], outcome.changes.size()) << "wrote after the outcome";
        }

        // Restored means byte for byte, in the outcomes that say so; an empty one stays empty.
        EXPECT_EQ(restored, restoredOutcomes.count(outcome.message) == 1) << outcome.message;
        if (restored) {
            ASSERT_TRUE(atPress);
            EXPECT_EQ(outcome.contents, *atPress);
            if (changesBeforePress == 0) {
                EXPECT_EQ(outcome.contents, user);
            }
            if (atPress->empty()) {
                EXPECT_EQ(outcome.writes, 0u);
            }
        } else if (outcome.changes.empty()) {
            EXPECT_EQ(outcome.contents, user);
        } else if (outcome.changes.back() == "kindle") {
            EXPECT_EQ(keptKindlesCopy.count(outcome.message), 1u) << outcome.message;
        }
        if (outcome.message == capture_texts::clipboardCannotBeKept) {
            EXPECT_EQ(h.accessibility.actions().size(), actionsBefore) << "pressed without a snapshot";
        }
    }

}

TEST(ClipboardSafetyTest, TheUsersClipboardSurvivesEveryCapture) {
    std::map<std::string, int> tally;
    for (const uint32_t seed : {1u, 7u, 42u, 2024u, 31337u}) {
        runCaptures(seed, 600, tally);
        if (::testing::Test::HasFatalFailure()) return;
    }

    // The randomness reaches every outcome that touches the clipboard, and the refusals around them.
    for (const char* message : {delivered, capture_texts::noCopyReceived, capture_texts::copyUnverified,
                                capture_texts::switchedDuringCopy, capture_texts::changedAfterCopy,
                                capture_texts::unconfirmedCopyRefused, capture_texts::passageTooLong,
                                capture_texts::copyNotConfirmed, capture_texts::copyUnavailable,
                                capture_texts::clipboardCannotBeKept, capture_texts::changedBeforeCopy,
                                capture_texts::switchedDuringSearch, capture_texts::kindleNotBroughtForward,
                                capture_texts::pageNotReady, capture_texts::allowAccessibility}) {
        EXPECT_GT(tally[message], 0) << message;
    }
    std::string summary;
    for (const auto& [message, count] : tally) summary += std::to_string(count) + " x " + message + "\n";
    RecordProperty("outcomes", summary);
    std::printf("%s", summary.c_str());
}

}  // namespace
}  // namespace brisel
