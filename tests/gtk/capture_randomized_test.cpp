// Many captures on the real X server with random timing of Kindle's copy, random programs
// writing after Kindle and random behaviour of the user's clipboard owner. After each one,
// exactly one outcome reached the page, and the user's clipboard is back byte for byte unless
// another program wrote after Kindle, whose write is then kept.
//   BRISEL_CAPTURE_RUNS   how many captures (default 20)
//   BRISEL_CAPTURE_SEED   the seed, to run a failure again (printed by every run)
#include "gtk/capture_fixture.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>

#include "capture/capture_texts.h"

namespace brisel::gtk {
namespace {

using testing::CaptureEndToEnd;
namespace stand_in = kindle_stand_in;
namespace texts = capture_texts;

unsigned environmentNumber(const char* name, unsigned otherwise) {
    const char* value = std::getenv(name);
    return value ? static_cast<unsigned>(std::strtoul(value, nullptr, 10)) : otherwise;
}

// One capture's circumstances, drawn at random.
struct Draw {
    unsigned delayMs = 0;     // Kindle's copy after the press; within the 2 s wait
    bool copies = true;
    bool interferes = false;  // another program writes right after Kindle
    std::string owner = "own";

    static Draw random(std::mt19937& random) {
        Draw draw;
        const unsigned timing = random() % 100;
        draw.delayMs = timing < 60 ? random() % 100 : timing < 90 ? 100 + random() % 500 : 600 + random() % 1200;
        draw.copies = random() % 100 >= 5;
        draw.interferes = random() % 100 < 15;
        const unsigned owner = random() % 100;
        draw.owner = owner < 6 ? "hostile hang" : owner < 12 ? "hostile refuse" : "own";
        return draw;
    }
};

TEST_F(CaptureEndToEnd, RandomCapturesEachReachThePageOnceAndKeepTheClipboardRule) {
    const unsigned runs = environmentNumber("BRISEL_CAPTURE_RUNS", 20);
    const unsigned seed = environmentNumber("BRISEL_CAPTURE_SEED", std::random_device()());
    std::cout << "randomized captures: " << runs << ", BRISEL_CAPTURE_SEED=" << seed << std::endl;
    RecordProperty("seed", static_cast<int>(seed));
    std::mt19937 random(seed);
    const auto start = std::chrono::steady_clock::now();
    const size_t first = nativeEventCount();

    for (unsigned run = 0; run < runs; ++run) {
        const Draw draw = Draw::random(random);
        SCOPED_TRACE("capture " + std::to_string(run) + ": delay " + std::to_string(draw.delayMs) + " ms, " +
                     (draw.copies ? "copies" : "no copy") + (draw.interferes ? ", interfered" : "") + ", " +
                     draw.owner);
        tell("reset");
        tell("delay " + std::to_string(draw.delayMs));
        tell(draw.copies ? "copy yes" : "copy no");
        tell(draw.interferes ? "interfere after" : "interfere none");
        holdUserClipboard(draw.owner);
        const Window owner = clipboardOwner();
        ASSERT_TRUE(bringKindleForward());

        const size_t before = nativeEventCount();
        pressCaptureKey();
        const auto outcome = outcomeAfter(before);
        ASSERT_TRUE(outcome);
        const bool snapshotRefused = draw.owner != "own";
        if (snapshotRefused) {
            EXPECT_EQ(outcome->error, texts::clipboardCannotBeKept);
            EXPECT_EQ(clipboardOwner(), owner);
        } else if (!draw.copies) {
            EXPECT_EQ(outcome->error, texts::noCopyReceived);
            EXPECT_EQ(clipboard(), usersClipboard());
        } else if (draw.interferes) {
            // Seen before Kindle's copy was read, or only when putting the user's back.
            EXPECT_TRUE(outcome->error == texts::copyUnverified || outcome->error == texts::changedAfterCopy)
                << outcome->error.value_or("a selection");
            ASSERT_FALSE(lineFromKindle("copied").empty());
            EXPECT_EQ(clipboardTarget("UTF8_STRING"), stand_in::interference);
        } else {
            EXPECT_TRUE(outcome->selection) << *outcome->error;
            if (outcome->selection) EXPECT_EQ((*outcome->selection)["text"], stand_in::passage);
            EXPECT_EQ(clipboard(), usersClipboard());
        }
        // Exactly one outcome: nothing more arrived while the clipboard was checked.
        EXPECT_EQ(outcomesIn(nativeEventsFrom(before)).size(), 1u);
        if (HasFatalFailure()) return;
    }
    EXPECT_EQ(outcomesIn(nativeEventsFrom(first)).size(), runs);
    const auto elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::cout << "randomized captures: " << runs << " in " << elapsed << " s" << std::endl;
}

}  // namespace
}  // namespace brisel::gtk
