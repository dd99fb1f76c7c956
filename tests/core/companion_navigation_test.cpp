#include <gtest/gtest.h>

#include "fakes/companion_harness.h"

namespace brisel {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

class NavigationTest : public ::testing::Test {
protected:
    void SetUp() override {
        h.http.answer = [](const std::string&) { return testing::statusAnswer(testing::compatibleLocalStatus); };
        h.launch();
        h.queue.runUntilIdle();
    }

    std::vector<std::string> deliveredTypes() const {
        std::vector<std::string> types;
        for (const auto& event : h.deliveredEvents()) types.push_back(event["type"]);
        return types;
    }

    testing::CompanionHarness h;
};

TEST_F(NavigationTest, AFinishedLoadRemovesTheLabelAndSendsAFreshStatusBeforeTheQueuedEvents) {
    auto& companion = *h.companion;
    companion.dispatch({{"type", "status"}, {"n", 1}});
    companion.dispatch({{"type", "captureStarted"}});
    companion.dispatch({{"type", "selection"}, {"text", "lost"}});
    companion.dispatch({{"type", "status"}, {"n", 2}});
    EXPECT_TRUE(h.deliveredEvents().empty());

    companion.didFinishNavigation();
    EXPECT_TRUE(companion.pageReady());
    EXPECT_EQ(h.panel.startupLabel, std::nullopt);
    EXPECT_EQ(companion.startupMessage(), std::nullopt);
    EXPECT_EQ(deliveredTypes(), (std::vector<std::string>{"status", "captureStarted", "status"}));
    EXPECT_EQ(h.deliveredEvents()[2]["n"], 2);
    EXPECT_TRUE(companion.pendingEvents().events().empty());

    companion.dispatch({{"type", "selection"}, {"text", "delivered"}});
    EXPECT_EQ(h.deliveredEvents().back()["text"], "delivered");
}

TEST_F(NavigationTest, LogsTheFinishedNavigationAndMeasuresThePageTwice) {
    h.webView.scriptResult = R"({"readyState":"complete","bodyTextLength":120,"rootChildren":3,
        "nativeType":"boolean","scriptCount":2,"viewportWidth":440,"viewportHeight":700,"rootWidth":440,"rootHeight":700})";
    h.companion->didFinishNavigation();
    h.queue.advance(1s);
    const auto events = h.logEvents();
    EXPECT_EQ(events, (std::vector<std::string>{"launch", "navigation-finished", "layout", "web-metrics", "layout",
                                                "web-metrics"}));
    const auto lines = h.logLines();
    EXPECT_EQ(lines[2]["stage"], "didFinish");
    EXPECT_EQ(lines[2]["frontmostBundle"], "org.example.editor");
    EXPECT_EQ(lines[3]["rootChildren"], 3);
    EXPECT_EQ(lines[3]["nativeType"], "boolean");
    EXPECT_EQ(lines[5]["stage"], "didFinish+1s");
    EXPECT_EQ(lines[5]["elapsedMs"], 1000);
}

TEST_F(NavigationTest, PageControlledMetricTextNeverReachesTheLog) {
    h.webView.scriptResult = R"({"readyState":"<b>secret</b>","nativeType":"string","rootChildren":"lots",
        "bodyTextLength":5,"password":"hunter2"})";
    h.companion->didFinishNavigation();
    const auto metrics = h.logLines()[3];
    EXPECT_EQ(metrics, (json{{"event", "web-metrics"}, {"elapsedMs", 0}, {"stage", "didFinish"}, {"bodyTextLength", 5}}));
}

TEST_F(NavigationTest, AFailedMeasurementIsLoggedAsAWebError) {
    h.webView.scriptError = WebError{"WKErrorDomain", 4};
    h.companion->didFinishNavigation();
    const auto lines = h.logLines();
    EXPECT_EQ(lines.back(), (json{{"event", "web-error"}, {"elapsedMs", 0}, {"stage", "probe-didFinish"},
                                  {"domain", "other"}, {"code", 4}}));
}

TEST_F(NavigationTest, FailuresAndCrashesMakeThePageUnreadyAndQueueLaterEvents) {
    auto& companion = *h.companion;
    companion.didFinishNavigation();
    const size_t delivered = h.deliveredEvents().size();

    companion.webContentProcessDidTerminate();
    EXPECT_FALSE(companion.pageReady());
    EXPECT_TRUE(h.panel.controlsHidden);
    companion.dispatch({{"type", "captureStarted"}});
    EXPECT_EQ(h.deliveredEvents().size(), delivered) << "nothing reaches a dead page";
    EXPECT_EQ(companion.pendingEvents().events().size(), 1u);
    EXPECT_EQ(h.webView.loads.size(), 1u) << "a crashed page is not reloaded";

    companion.didFailNavigation({web_error_domain::urlLoading, -1004}, true);
    companion.didFailNavigation({web_error_domain::posix, 61}, false);
    const auto lines = h.logLines();
    EXPECT_EQ(lines[lines.size() - 3]["event"], "web-content-process-terminated");
    EXPECT_EQ(lines[lines.size() - 2],
              (json{{"event", "web-error"}, {"elapsedMs", 0}, {"stage", "provisional-navigation-failed"},
                    {"domain", "NSURLErrorDomain"}, {"code", -1004}}));
    EXPECT_EQ(lines.back()["stage"], "navigation-failed");
    EXPECT_EQ(lines.back()["domain"], "NSPOSIXErrorDomain");
}

TEST_F(NavigationTest, AScriptFailureOfADeliveredEventIsLogged) {
    h.companion->didFinishNavigation();
    h.webView.scriptError = WebError{"WKErrorDomain", 4};
    h.companion->dispatch({{"type", "returnRequested"}});
    EXPECT_EQ(h.logLines().back()["stage"], "native-event-dispatch");
}

TEST_F(NavigationTest, OnlyTheLocalOriginLoadsAndOnlyClickedWebLinksOpenTheBrowser) {
    auto& companion = *h.companion;
    EXPECT_TRUE(companion.decidePolicyForNavigation("http://127.0.0.1:47831/notes?id=1", false));
    EXPECT_TRUE(companion.decidePolicyForNavigation("http://127.0.0.1:47831/", true));

    EXPECT_FALSE(companion.decidePolicyForNavigation("https://checkout.example.com/pay", true));
    EXPECT_FALSE(companion.decidePolicyForNavigation("https://checkout.example.com/pay", false));
    EXPECT_FALSE(companion.decidePolicyForNavigation("http://localhost:47831/", false));
    EXPECT_FALSE(companion.decidePolicyForNavigation("mailto:reader@example.com", true));
    EXPECT_FALSE(companion.decidePolicyForNavigation("HTTP://example.org/", true));
    EXPECT_FALSE(companion.decidePolicyForNavigation(std::nullopt, true));
    EXPECT_EQ(h.workspace.opened,
              (std::vector<std::string>{"https://checkout.example.com/pay", "HTTP://example.org/"}));
}

TEST_F(NavigationTest, TheStatusCarriesTheServerErrorUnlessTheCallerGivesOne) {
    auto& companion = *h.companion;
    companion.didFinishNavigation();
    EXPECT_FALSE(h.deliveredEvents().back().contains("error"));
    companion.sendStatus("explicit");
    EXPECT_EQ(h.deliveredEvents().back()["error"], "explicit");
}

}  // namespace
}  // namespace brisel
