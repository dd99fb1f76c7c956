#include <gtest/gtest.h>

#include "app/texts.h"
#include "fakes/companion_harness.h"

namespace brisel {
namespace {

using namespace std::chrono_literals;

// The panel shows at once; the page loads only from a probe's answer. Probes that get no answer
// end at their 0.75 s time-out and the next comes 0.25 s later, so after a launch the companion
// gives up when attempt 35 ends, 0.75 + 36 × 1 s after the start.
TEST(CompanionStartup, EachServerSituationEndsInItsOutcomeAtItsTime) {
    const char* compatible = testing::compatibleLocalStatus;
    const char* mismatch = R"({"provider":"codex","version":2.0})";
    const struct {
        const char* why;
        int silentProbes;    // before the server answers; -1: it never does
        const char* answer;  // what it answers then
        bool cloud, launchFails, filesMissing;
        Duration at;         // when the outcome shows
        const char* label;   // the label then; null when the page loads
        size_t launches, probes;
    } rows[] = {
        {"a compatible server already runs", 0, compatible, false, false, false, 0ms, nullptr, 0, 1},
        {"the launched server answers the fifth probe", 4, compatible, false, false, false, 3750ms, nullptr, 1, 5},
        {"the launched server never answers", -1, "", false, false, false, 36500ms, texts::serverUnreachable, 1, 37},
        {"the launch fails: its message after the whole wait", -1, "", false, true, false, 36500ms, texts::serverLaunchFailed, 1, 37},
        {"the server files are missing", -1, "", false, false, true, 36500ms, texts::serverFilesMissing, 0, 37},
        {"another service holds the port", 0, mismatch, false, false, false, 0ms, texts::portHeldByOther, 0, 1},
        {"it answers wrongly while waiting", 3, mismatch, false, false, false, 2750ms, texts::portHeldByOther, 1, 4},
        {"a local server in cloud mode", 0, compatible, true, false, false, 0ms, texts::portHeldByOther, 0, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        testing::CompanionHarness h;
        h.launcher.fails = row.launchFails;
        if (row.filesMissing) std::filesystem::remove(h.resources / "server/server.mjs");
        h.http.answer = [&](auto&) -> std::optional<HttpResponse> {
            if (row.silentProbes < 0 || h.http.requests.size() <= size_t(row.silentProbes)) return std::nullopt;
            return testing::statusAnswer(row.answer);
        };
        auto& companion = h.launch({.cloudBackend = row.cloud});
        if (row.at > 0ms) h.queue.advance(row.at - 1ms);
        EXPECT_TRUE(h.panel.visible);
        EXPECT_EQ(h.panel.startupLabel, texts::startingUp);
        EXPECT_EQ(h.webView.loads.size(), 0u);
        h.queue.advance(row.at > 0ms ? 1ms : 0ms);
        EXPECT_EQ(h.panel.startupLabel, row.label ? row.label : texts::startingUp);
        EXPECT_EQ(h.webView.loads.size(), row.label ? 0u : 1u);
        h.queue.advance(60s);
        EXPECT_EQ(std::pair(h.launcher.launches.size(), h.http.requests.size()), std::pair(row.launches, row.probes));
        companion.applicationWillTerminate();
        EXPECT_EQ(h.launcher.terminated, row.launches == 1 && !row.launchFails) << "only a server it launched is stopped";
    }
}

TEST(CompanionStartup, AProbeAnswerAfterTheCompanionIsGoneDoesNothing) {
    testing::CompanionHarness h;
    h.http.answer = [](auto&) { return testing::statusAnswer(testing::compatibleLocalStatus); };
    h.launch();
    h.companion.reset();
    h.queue.runUntilIdle();
    EXPECT_TRUE(h.webView.loads.empty());
}

}  // namespace
}  // namespace brisel
