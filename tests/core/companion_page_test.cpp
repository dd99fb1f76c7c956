// The companion as the page's host: readiness and the queue of native events, navigation, the
// "omvane" channel, the reading strip and the panel's frames for the map.
#include <gtest/gtest.h>

#include "app/panel_geometry.h"
#include "fakes/companion_harness.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::CompanionHarness;

const json strip = {{"action", "readingControls"}, {"visible", true}, {"controlId", "note"}, {"draft", true},
                    {"pending", false}, {"saving", false}, {"returningAfterSave", false}, {"saveAttempt", 0}};

TEST(CompanionPage, ALoadRemovesTheLabelAndSendsAFreshStatusThenTheQueueLessSelectionsAndOlderStatuses) {
    CompanionHarness h;
    auto& companion = h.launch();
    for (const char* type : {"status", "captureStarted", "selection", "returnRequested", "status"}) companion.dispatch({{"type", type}, {"queued", true}});
    companion.didFinishNavigation();
    EXPECT_EQ(h.panel.startupLabel, std::nullopt);
    std::vector<std::string> delivered;
    for (const auto& event : h.deliveredEvents()) delivered.push_back(event["type"].get<std::string>() + (event.contains("queued") ? "*" : ""));
    EXPECT_EQ(delivered, (std::vector<std::string>{"status", "captureStarted*", "returnRequested*", "status*"}));
}

TEST(CompanionPage, LogsThePagesMeasuresWithoutItsTextAndAFailureOnlyByAKnownDomain) {
    CompanionHarness h;
    h.webView.scriptResult = R"({"readyState":"<b>text</b>","rootChildren":3,"nativeType":"text","bodyTextLength":"x"})";
    h.launchAndLoad().didFailNavigation({"MyDomain", 61}, false);
    const auto lines = h.logLines();
    EXPECT_EQ(lines.at(lines.size() - 2), json::parse(R"({"elapsedMs":0,"event":"web-metrics","rootChildren":3,"stage":"didFinish"})"));
    EXPECT_EQ(lines.back(), json::parse(R"({"code":61,"domain":"other","elapsedMs":0,"event":"web-error","stage":"navigation-failed"})"));
}

TEST(CompanionPage, OnlyTheLocalOriginLoadsAndOnlyClickedValidWebLinksOpenInTheBrowser) {
    CompanionHarness h;
    auto& companion = h.launch();
    EXPECT_TRUE(companion.decidePolicyForNavigation("http://127.0.0.1:47831/notes?id=1", false));
    for (const char* url : {"https://checkout.example.com:65535/pay", "http://localhost:47831/", "mailto:a@example.com",
                            "HTTP://example.org/", "http://example.org:65536/"}) {
        EXPECT_FALSE(companion.decidePolicyForNavigation(url, true) || companion.decidePolicyForNavigation(url, false)) << url;
    }
    EXPECT_FALSE(companion.decidePolicyForNavigation(std::nullopt, true));
    EXPECT_EQ(h.workspace.opened, (std::vector<std::string>{"https://checkout.example.com:65535/pay", "http://localhost:47831/",
                                                            "HTTP://example.org/"})) << "no mail, and no port past 65535";
}

// What one message does, in the fakes' terms.
std::vector<std::string> effectsOf(CompanionHarness& h, const ScriptMessage& message) {
    const size_t events = h.deliveredEvents().size(), opened = h.workspace.opened.size(), lines = h.logLines().size();
    const auto before = std::tuple(h.application.activations, h.panel.resizes, h.panel.controlsHidden);
    h.companion->didReceiveScriptMessage(message);
    std::vector<std::string> effects;
    if (h.application.activations > std::get<0>(before)) effects.push_back("activate");
    if (h.panel.resizes > std::get<1>(before)) effects.push_back("resize");
    if (h.panel.controlsHidden != std::get<2>(before)) effects.push_back("strip shown");
    for (size_t i = events; i < h.deliveredEvents().size(); ++i) effects.push_back(h.deliveredEvents()[i]["type"]);
    for (size_t i = opened; i < h.workspace.opened.size(); ++i) effects.push_back("open " + h.workspace.opened[i]);
    for (size_t i = lines; i < h.logLines().size(); ++i) effects.push_back("log " + h.logLines()[i]["errorType"].get<std::string>());
    if (h.application.terminations > 0) effects.push_back("quit");
    return effects;
}

TEST(CompanionPage, OnlyTheLocalPagesMainFrameIsHeardAndEachActionDoesItsOwnThing) {
    const std::string signIn = "https://auth.brisel.app/#desktop-connect=abc";
    const json dictionary = {{"action", "openDictionary"}};
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
        {"quit", {{"action", "quit"}}, {"quit"}},
        {"the expanded map", {{"action", "expandMap"}}, {"resize"}},
        {"compacting a map that is not expanded", {{"action", "compactMap"}}, {}},
        {"a script error by its name", {{"action", "diagnostic"}, {"event", "script-error"}, {"errorType", "TypeError"}}, {"log TypeError"}},
        {"never a page's own text", {{"action", "diagnostic"}, {"event", "unhandled-rejection"}, {"errorType", "secret"}}, {"log UnknownError"}},
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
        h.launchAndLoad({.cloudBackend = row.cloud});
        h.webView.url = row.shown;
        EXPECT_EQ(effectsOf(h, {row.body, row.mainFrame, row.origin, h.webView.identity()}), row.effects);
    }
}

TEST(CompanionPage, TheStripsButtonsReachOnlyTheLocalPageWhileItIsReady) {
    CompanionHarness h;
    auto& companion = h.launchAndLoad();
    const auto press = [&](const char* url) {
        h.webView.url = url;
        h.post(strip);
        companion.readingControls().perform(BriselReadingControlsModel::returnRequested, "note");
    };
    for (const char* url : {"http://127.0.0.1:47831/x", "https://example.com/"}) press(url);
    companion.didStartProvisionalNavigation();
    EXPECT_TRUE(h.panel.controlsHidden) << "a navigation resets the strip";
    press("http://127.0.0.1:47831/x");
    EXPECT_EQ(h.deliveredEvents(), (std::vector<json>{h.deliveredEvents()[0], {{"type", "returnRequested"}, {"controlId", "note"}}}));
}

// The edges of the panel's frames; the shell's end-to-end test sees the usual ones.
TEST(PanelGeometry, FramesShrinkToSmallScreensAndStayInsideSixteenPointMargins) {
    const Screen left{{0, 0, 1440, 900}, {0, 0, 1440, 875}};
    const Screen narrow{{0, 0, 400, 600}, {0, 0, 400, 600}};
    EXPECT_EQ(panelFrame({narrow}, narrow, {1, 1}), (Rect{8, 16, 376, 568}));
    EXPECT_EQ(panelFrame({narrow, left}, left, {-50, -50}), panelFrame({left}, left, {1, 1})) << "off every screen: the main one";
    EXPECT_EQ(panelFrame({}, std::nullopt, {0, 0}), (Rect{984, 70, 440, 760})) << "no screen at all";
    EXPECT_EQ(expandedMapFrame({0, 0, 1280, 800}, {-500, -500, 440, 760}), (Rect{16, 16, 1040, 768}));
    EXPECT_EQ(expandedMapFrame({0, 0, 2560, 1400}, {1000, 300, 440, 760}), (Rect{700, 260, 1040, 840}));
}

}  // namespace
}  // namespace brisel
