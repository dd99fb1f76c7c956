// The companion as the page's host: readiness and the queue of native events, navigation, the
// "omvane" channel, the reading strip and the panel.
#include <gtest/gtest.h>

#include "fakes/companion_harness.h"

namespace brisel {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::CompanionHarness;

TEST(CompanionPage, ALoadRemovesTheLabelAndSendsAFreshStatusBeforeTheQueuedEventsInOrder) {
    CompanionHarness h;
    auto& companion = h.launch();
    for (const char* type : {"status", "captureStarted", "selection", "returnRequested", "status"}) {
        companion.dispatch({{"type", type}, {"queued", true}});
    }
    companion.didFinishNavigation();
    EXPECT_EQ(h.panel.startupLabel, std::nullopt);
    std::vector<std::string> delivered;
    for (const auto& event : h.deliveredEvents()) delivered.push_back(event["type"].get<std::string>() + (event.contains("queued") ? "*" : ""));
    EXPECT_EQ(delivered, (std::vector<std::string>{"status", "captureStarted*", "returnRequested*", "status*"}));
}

TEST(CompanionPage, LogsTheLoadAndItsMeasuresKeepingNoPageTextAndAFailureOnlyByAKnownDomain) {
    CompanionHarness h;
    h.webView.scriptResult = R"({"readyState":"<b>text</b>","rootChildren":3,"nativeType":"text","bodyTextLength":"x"})";
    auto& companion = h.launchAndLoad();
    h.queue.advance(1s);
    companion.didFailNavigation({"MyDomain", 61}, false);
    companion.webContentProcessDidTerminate();
    std::vector<std::string> lines;  // layout lines by their stage only
    for (const auto& line : h.logLines()) lines.push_back(line["event"] == "layout" ? "layout " + line["stage"].get<std::string>() : line.dump());
    EXPECT_EQ(lines, (std::vector<std::string>{R"({"elapsedMs":0,"event":"launch","pid":4242})",
        R"({"elapsedMs":0,"event":"navigation-finished"})", "layout didFinish", R"({"elapsedMs":0,"event":"web-metrics","rootChildren":3,"stage":"didFinish"})",
        "layout didFinish+1s", R"({"elapsedMs":1000,"event":"web-metrics","rootChildren":3,"stage":"didFinish+1s"})",
        R"({"code":61,"domain":"other","elapsedMs":1000,"event":"web-error","stage":"navigation-failed"})",
        R"({"elapsedMs":1000,"event":"web-content-process-terminated"})"}));
}

TEST(CompanionPage, OnlyTheLocalOriginLoadsAndOnlyClickedWebLinksOpenInTheBrowser) {
    CompanionHarness h;
    auto& companion = h.launch();
    EXPECT_TRUE(companion.decidePolicyForNavigation("http://127.0.0.1:47831/notes?id=1", false));
    for (const char* url : {"https://checkout.example.com/pay", "http://localhost:47831/", "mailto:a@example.com", "HTTP://example.org/"}) {
        EXPECT_FALSE(companion.decidePolicyForNavigation(url, true)) << url;
        EXPECT_FALSE(companion.decidePolicyForNavigation(url, false)) << url;
    }
    EXPECT_FALSE(companion.decidePolicyForNavigation(std::nullopt, true));
    EXPECT_EQ(h.workspace.opened, (std::vector<std::string>{"https://checkout.example.com/pay", "http://localhost:47831/",
                                                            "HTTP://example.org/"}));
}

// What one message does, in the fakes' terms.
std::vector<std::string> effectsOf(CompanionHarness& h, const ScriptMessage& message) {
    const auto events = h.deliveredEvents().size(), opened = h.workspace.opened.size(), lines = h.logLines().size();
    const auto frames = h.panel.frameChanges.size();
    const int activations = h.application.activations;
    const bool stripHidden = h.panel.controlsHidden;
    h.companion->didReceiveScriptMessage(message);
    std::vector<std::string> effects;
    if (h.application.activations > activations) effects.push_back("activate");
    if (h.panel.frameChanges.size() > frames) effects.push_back("resize");
    if (h.panel.controlsHidden != stripHidden) effects.push_back(stripHidden ? "strip shown" : "strip hidden");
    for (size_t i = events; i < h.deliveredEvents().size(); ++i) effects.push_back(h.deliveredEvents()[i]["type"]);
    for (size_t i = opened; i < h.workspace.opened.size(); ++i) effects.push_back("open " + h.workspace.opened[i]);
    for (size_t i = lines; i < h.logLines().size(); ++i) effects.push_back("log " + h.logLines()[i]["errorType"].get<std::string>());
    if (h.application.terminations > 0) effects.push_back("quit");
    return effects;
}

TEST(CompanionPage, OnlyTheLocalPagesMainFrameIsHeardAndEachActionDoesItsOwnThing) {
    const std::string signIn = "https://auth.brisel.app/#desktop-connect=abc";
    const json dictionary = {{"action", "openDictionary"}};
    const json strip = {{"action", "readingControls"}, {"visible", true}, {"controlId", "note"}, {"draft", true},
                        {"pending", false}, {"saving", false}, {"returningAfterSave", false}, {"saveAttempt", 0}};
    const struct {
        const char* why;
        json body;
        std::vector<std::string> effects;
        bool cloud = false, mainFrame = true;
        SecurityOrigin origin = {"http", "127.0.0.1", 47831};
        std::optional<std::string> shown = "http://127.0.0.1:47831/";
    } rows[] = {
        {"the dictionary", dictionary, {"activate", "openDictionary"}},
        {"a sub-frame is not heard", dictionary, {}, false, false},
        {"nor the page under another host name", dictionary, {}, false, true, {"http", "localhost", 47831}},
        {"nor under HTTP in capitals", dictionary, {}, false, true, {"HTTP", "127.0.0.1", 47831}},
        {"nor on another port", dictionary, {}, false, true, {"http", "127.0.0.1", 8080}},
        {"an empty body", json::object(), {}},
        {"an action that is a number", {{"action", 13}}, {}},
        {"a body that is no dictionary", json::array({"openDictionary"}), {}},
        {"actions are case-sensitive", {{"action", "OpenDictionary"}}, {}},
        {"quit", {{"action", "quit"}}, {"quit"}},
        {"the expanded map", {{"action", "expandMap"}}, {"resize"}},
        {"compacting a map that is not expanded", {{"action", "compactMap"}}, {}},
        {"the accessibility settings", {{"action", "openAccessibilitySettings"}},
         {"open x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"}},
        {"a script error by its name", {{"action", "diagnostic"}, {"event", "script-error"}, {"errorType", "TypeError"}}, {"log TypeError"}},
        {"never a page's own text", {{"action", "diagnostic"}, {"event", "script-error"}, {"errorType", "secret"}}, {"log UnknownError"}},
        {"a rejection without a name", {{"action", "diagnostic"}, {"event", "unhandled-rejection"}}, {"log UnknownError"}},
        {"no other diagnostic event", {{"action", "diagnostic"}, {"event", "launch"}, {"errorType", "Error"}}, {}},
        {"the reading strip", strip, {"strip shown"}},
        {"no strip for another page", strip, {}, false, true, {"http", "127.0.0.1", 47831}, "https://example.com/"},
        {"no strip without a page", strip, {}, false, true, {"http", "127.0.0.1", 47831}, std::nullopt},
        {"cloud sign-in only with the cloud backend", {{"action", "desktopSignedIn"}}, {}},
        {"cloud sign-in shows the panel", {{"action", "desktopSignedIn"}}, {"activate", "status"}, true},
        {"the sign-in page only with the cloud backend", {{"action", "openAuthBrowser"}, {"url", signIn}}, {}},
        {"the sign-in page", {{"action", "openAuthBrowser"}, {"url", signIn}}, {"open " + signIn}, true},
        {"no other page", {{"action", "openAuthBrowser"}, {"url", "https://auth.brisel.app/x#desktop-connect=a"}}, {}, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CompanionHarness h;
        CompanionSettings settings;
        settings.cloudBackend = row.cloud;
        h.launchAndLoad(settings);
        h.webView.url = row.shown;
        EXPECT_EQ(effectsOf(h, {row.body, row.mainFrame, row.origin, h.webView.identity()}), row.effects);
    }
}

TEST(CompanionPage, TheStripsButtonsReachOnlyTheLocalPageWhileItIsReady) {
    CompanionHarness h;
    auto& companion = h.launchAndLoad();
    const auto press = [&](const char* url) {
        h.webView.url = url;
        h.post({{"action", "readingControls"}, {"visible", true}, {"controlId", "n"}, {"draft", true}, {"pending", false},
                {"saving", false}, {"returningAfterSave", false}, {"saveAttempt", 0}});
        companion.readingControls().perform(BriselReadingControlsModel::returnRequested, "n");
    };
    press("http://127.0.0.1:47831/x");
    press("https://example.com/");
    companion.didStartProvisionalNavigation();
    EXPECT_TRUE(h.panel.controlsHidden) << "a navigation resets the strip";
    press("http://127.0.0.1:47831/x");
    EXPECT_EQ(h.deliveredEvents(), (std::vector<json>{h.deliveredEvents()[0], {{"type", "returnRequested"}, {"controlId", "n"}}}));
}

TEST(CompanionPage, TheMapGrowsOnceAndShrinksBackAndAHiddenPanelReturnsUnderTheMouseInItsNormalSize) {
    CompanionHarness h;
    h.panel.screenList.push_back({{1440, 0, 1920, 1080}, {1440, 40, 1920, 1040}});
    auto& companion = h.launchAndLoad();
    for (const char* action : {"expandMap", "expandMap", "compactMap", "compactMap"}) h.post({{"action", action}});
    h.panel.reduceMotionOn = true;
    h.post({{"action", "expandMap"}});
    h.panel.visible = false;
    h.post({{"action", "compactMap"}});
    h.post({{"action", "expandMap"}});
    h.panel.mouse = {2000, 500};
    companion.showPanel();
    h.panel.miniaturized = true;
    EXPECT_TRUE(companion.applicationShouldHandleReopen());
    EXPECT_FALSE(h.panel.miniaturized);
    EXPECT_EQ(h.panel.frameChanges, (std::vector<std::string>{"984 57.5 440 760 0 0", "384 17.5 1040 840 1 1", "984 57.5 440 760 1 1",
                                                              "384 17.5 1040 840 1 0", "984 57.5 440 760 0 0",
                                                              "384 17.5 1040 840 1 0", "2904 180 440 760 0 0"}));
    EXPECT_EQ(companion.compactMapFrame(), std::nullopt);
    EXPECT_EQ(h.deliveredEvents().back()["type"], "status") << "reopening sends a status";
}

}  // namespace
}  // namespace brisel
