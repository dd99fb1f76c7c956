// How long a capture takes end to end on an X desktop, from the hot key typed on the X keyboard
// to the "selection" event in the page, against its floor: the Kindle stand-in's own time from
// the press of Copy to its copy on the clipboard, plus one 50 ms poll of the copy wait. Also the
// longest the main loop went without a turn while captures ran. Prints the figures; run it with
// tests/e2e/desktop_session.sh (scripts/test.sh bench does).
#include "gtk/capture_fixture.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace brisel::gtk {
namespace {

using testing::CaptureEndToEnd;

constexpr int captures = 50;

// The longest time between two turns of the main loop while it is watched: a timer of the
// highest priority, due at every turn, notes how long since it last ran.
class MainLoopGaps {
public:
    MainLoopGaps() : last_(g_get_monotonic_time()) {
        source_ = g_timeout_add_full(G_PRIORITY_HIGH, 1, &MainLoopGaps::tick, this, nullptr);
    }
    ~MainLoopGaps() { g_source_remove(source_); }
    double longestMs() const { return longest_ / 1000.0; }

private:
    static gboolean tick(gpointer self) {
        auto* gaps = static_cast<MainLoopGaps*>(self);
        const gint64 now = g_get_monotonic_time();
        gaps->longest_ = std::max(gaps->longest_, now - gaps->last_);
        gaps->last_ = now;
        return G_SOURCE_CONTINUE;
    }
    guint source_ = 0;
    gint64 last_;
    gint64 longest_ = 0;
};

double percentile(std::vector<double> values, double fraction) {
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(fraction * static_cast<double>(values.size() - 1) + 0.5)];
}

TEST_F(CaptureEndToEnd, HotKeyToSelectionEvent) {
    // The page notes, on the same wall clock, when each selection reached it.
    page("(() => { window.addEventListener('omvane:native', e => { if (e.detail.type === 'selection') "
         "window.selectionAt = Date.now(); }); return true; })()");
    std::vector<double> latencies, floors, stalls;
    int refused = 0;
    for (int run = 0; run < captures; ++run) {
        holdUserClipboard("own");
        ASSERT_TRUE(bringKindleForward());
        const size_t before = nativeEventCount();
        std::optional<MainLoopGaps> gaps;
        gaps.emplace();
        const double pressedAt = static_cast<double>(g_get_real_time()) / 1000.0;
        pressCaptureKey();
        const auto outcome = outcomeAfter(before);
        stalls.push_back(gaps->longestMs());
        gaps.reset();
        ASSERT_TRUE(outcome);
        const std::string copied = lineFromKindle("copied ");
        ASSERT_FALSE(copied.empty());
        // A refused capture has no time to the page; it is counted and left out.
        if (!outcome->selection) {
            std::printf("refused: %s\n", outcome->error.value_or("").c_str());
            ++refused;
            continue;
        }
        latencies.push_back(page("window.selectionAt").get<double>() - pressedAt);
        floors.push_back(std::stod(copied.substr(7)) / 1000.0 + 50.0);
    }
    std::vector<double> overFloor;
    for (size_t i = 0; i < latencies.size(); ++i) overFloor.push_back(latencies[i] - floors[i]);
    ASSERT_FALSE(latencies.empty());
    std::printf("hot key to selection event, %zu of %d captures, %d refused (ms): median %.1f, p95 %.1f\n",
                latencies.size(), captures, refused,
                percentile(latencies, 0.5), percentile(latencies, 0.95));
    std::printf("floor (stand-in's copy + one 50 ms poll) (ms): median %.1f, p95 %.1f\n", percentile(floors, 0.5),
                percentile(floors, 0.95));
    std::printf("over the floor (ms): median %.1f, p95 %.1f (goal: median within 20)\n", percentile(overFloor, 0.5),
                percentile(overFloor, 0.95));
    std::printf("longest main-loop gap during a capture (ms): median %.1f, max %.1f (goal: none over 16)\n",
                percentile(stalls, 0.5), percentile(stalls, 1.0));
}

}  // namespace
}  // namespace brisel::gtk
