#include <gtest/gtest.h>

#include "app/texts.h"
#include "fakes/companion_harness.h"

namespace brisel {
namespace {

using namespace std::chrono_literals;
using testing::compatibleLocalStatus;
using testing::statusAnswer;

class StartupTest : public ::testing::Test {
protected:
    // Nothing answers for the first `silentProbes` probes, then the compatible server does.
    void serverAnswersAfter(int silentProbes) {
        h.http.answer = [this, silentProbes](const std::string&) -> std::optional<HttpResponse> {
            if (static_cast<int>(h.http.requests.size()) <= silentProbes) return std::nullopt;
            return statusAnswer(compatibleLocalStatus);
        };
    }

    testing::CompanionHarness h;
};

TEST_F(StartupTest, ShowsThePanelWithItsLabelBeforeTheServerAnswers) {
    h.launch();
    EXPECT_EQ(h.panel.keyAndFrontCount, 1);
    EXPECT_EQ(h.panel.startupLabel, texts::startingUp);
    EXPECT_EQ(h.application.menus.size(), 3u);
    ASSERT_TRUE(h.panel.configuration);
    EXPECT_EQ(h.panel.configuration->title, "Brisel");
    EXPECT_EQ(h.panel.configuration->messageChannel, "omvane");
    EXPECT_EQ(h.panel.configuration->userScripts.size(), 2u);
    EXPECT_TRUE(h.webView.loads.empty()) << "the page loads only from the probe's answer";

    const auto log = h.logLines();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], (nlohmann::json{{"event", "launch"}, {"pid", 4242}, {"elapsedMs", 0}}));
}

TEST_F(StartupTest, UsesACompatibleServerThatIsAlreadyRunningAndLeavesItRunning) {
    serverAnswersAfter(0);
    auto& companion = h.launch();
    h.queue.runUntilIdle();
    EXPECT_EQ(h.webView.loads, std::vector<std::string>{"http://127.0.0.1:47831"});
    EXPECT_EQ(h.webView.loadTimeout, std::chrono::seconds(60));
    EXPECT_EQ(h.http.requests, std::vector<std::string>{"http://127.0.0.1:47831/api/status"});
    EXPECT_TRUE(h.launcher.launches.empty());
    EXPECT_FALSE(companion.launchedServer());
    companion.applicationWillTerminate();
    EXPECT_FALSE(h.launcher.terminated);
}

TEST_F(StartupTest, LaunchesOnceWhenNothingAnswersAndLoadsThePageWhenTheServerIsUp) {
    serverAnswersAfter(4);
    auto& companion = h.launch();
    h.queue.runUntilIdle();
    ASSERT_EQ(h.launcher.launches.size(), 1u);
    const auto& launchRequest = h.launcher.launches[0];
    EXPECT_EQ(launchRequest.arguments, std::vector<std::string>{(h.resources() / "server/server.mjs").string()});
    EXPECT_EQ(launchRequest.environment.at("PORT"), "47831");
    EXPECT_EQ(launchRequest.environment.at("HOST"), "127.0.0.1");

    h.queue.advance(749ms);
    EXPECT_TRUE(h.webView.loads.empty());
    h.queue.advance(1ms);  // probes at 0, 0, 250, 500, 750 ms: the fifth answers
    EXPECT_EQ(h.webView.loads.size(), 1u);
    EXPECT_EQ(h.launcher.launches.size(), 1u);
    EXPECT_EQ(h.queue.pendingTasks(), 0u) << "waiting stops once the page loads";

    companion.applicationWillTerminate();
    EXPECT_TRUE(h.launcher.terminated) << "a server this process started is stopped at exit";
}

TEST_F(StartupTest, ALaunchFailureKeepsProbingTheFullBudgetBeforeItsMessageAppears) {
    h.launcher.fails = true;
    auto& companion = h.launch();
    h.queue.runUntilIdle();
    EXPECT_EQ(companion.lastStatusError(), texts::serverLaunchFailed);

    h.queue.advance(35 * 250ms - 1ms);
    EXPECT_EQ(h.panel.startupLabel, texts::startingUp);
    h.queue.advance(1ms);
    EXPECT_EQ(h.panel.startupLabel, texts::serverLaunchFailed);
    EXPECT_EQ(h.http.requests.size(), 1u + 36u) << "the first probe, then attempts 0 to 35";
    EXPECT_EQ(h.queue.pendingTasks(), 0u);
    h.queue.advance(10s);
    EXPECT_EQ(h.http.requests.size(), 37u);
    EXPECT_EQ(h.launcher.launches.size(), 1u) << "never a second launch";
}

TEST_F(StartupTest, MissingServerFilesShowTheirMessageWhenTheWaitingGivesUp) {
    std::filesystem::remove(h.resources() / "server/server.mjs");
    auto& companion = h.launch();
    h.queue.advance(10s);
    EXPECT_TRUE(h.launcher.launches.empty());
    EXPECT_EQ(companion.lastStatusError(), texts::serverFilesMissing);
    EXPECT_EQ(h.panel.startupLabel, texts::serverFilesMissing);
}

TEST_F(StartupTest, AServerThatNeverAnswersEndsWithTheConnectionMessage) {
    h.launch();
    h.queue.advance(10s);
    EXPECT_EQ(h.launcher.launches.size(), 1u);
    EXPECT_EQ(h.panel.startupLabel, texts::serverUnreachable);
}

TEST_F(StartupTest, AnIncompatibleAnswerStopsAtOnceWithThePortMessage) {
    h.http.answer = [](const std::string&) { return statusAnswer("Internal Server Error", 500); };
    h.launch();
    h.queue.runUntilIdle();
    EXPECT_EQ(h.panel.startupLabel, texts::portHeldByOther);
    EXPECT_TRUE(h.launcher.launches.empty());
    EXPECT_TRUE(h.webView.loads.empty());
    EXPECT_EQ(h.queue.pendingTasks(), 0u);
}

TEST_F(StartupTest, AnIncompatibleAnswerWhileWaitingStopsAtOnce) {
    h.http.answer = [this](const std::string&) -> std::optional<HttpResponse> {
        if (h.http.requests.size() < 3) return std::nullopt;
        return statusAnswer(R"({"provider":"codex","version":2.0})");
    };
    h.launch();
    h.queue.advance(10s);
    EXPECT_EQ(h.http.requests.size(), 3u);
    EXPECT_EQ(h.panel.startupLabel, texts::portHeldByOther);
}

TEST_F(StartupTest, TheCloudBackendLaunchesItsOwnScriptAndRefusesALocalServer) {
    testing::writeFile(h.resources() / "backend-mode.txt", "cloud\n");
    testing::writeFile(h.resources() / "server/desktop-server.mjs", "");
    CompanionSettings settings;
    settings.cloudBackend = readCloudBackend(h.resources());
    ASSERT_TRUE(settings.cloudBackend);

    h.http.answer = [](const std::string&) { return statusAnswer(compatibleLocalStatus); };
    h.launch(settings);
    h.queue.runUntilIdle();
    EXPECT_EQ(h.panel.startupLabel, texts::portHeldByOther);
}

TEST(CloudBackend, IsReadFromTheTrimmedResourceFileAndIsCaseSensitive) {
    testing::TempDir dir;
    EXPECT_FALSE(readCloudBackend(std::nullopt));
    EXPECT_FALSE(readCloudBackend(dir.path()));
    for (const auto& [text, cloud] : std::vector<std::pair<std::string, bool>>{
             {"cloud", true}, {"cloud\n", true}, {"  cloud  ", true}, {"Cloud", false}, {"local", false}, {"", false}}) {
        testing::writeFile(dir / "backend-mode.txt", text);
        EXPECT_EQ(readCloudBackend(dir.path()), cloud) << '"' << text << '"';
    }
    std::filesystem::remove(dir / "backend-mode.txt");
    std::filesystem::create_directory(dir / "backend-mode.txt");
    EXPECT_FALSE(readCloudBackend(dir.path())) << "a folder in its place";
}

TEST_F(StartupTest, ProbeAnswersAfterTheCompanionIsGoneDoNothing) {
    serverAnswersAfter(0);
    h.launch();
    h.companion.reset();
    h.queue.runUntilIdle();
    EXPECT_TRUE(h.webView.loads.empty());
}

TEST_F(StartupTest, TheServerListensOnTheLocalURLsOwnPort) {
    CompanionSettings settings;
    settings.localURL = "http://127.0.0.1:51234";
    h.launch(settings);
    h.queue.runUntilIdle();
    EXPECT_EQ(h.http.requests.front(), "http://127.0.0.1:51234/api/status");
    ASSERT_EQ(h.launcher.launches.size(), 1u);
    EXPECT_EQ(h.launcher.launches[0].environment.at("PORT"), "51234");
}

}  // namespace
}  // namespace brisel
