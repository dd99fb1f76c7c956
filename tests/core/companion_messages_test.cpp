#include <gtest/gtest.h>

#include "fakes/companion_harness.h"

namespace brisel {
namespace {

using nlohmann::json;

class PageMessagesTest : public ::testing::Test {
protected:
    void launch(bool cloud = false) {
        h.http.answer = [](const std::string&) { return testing::statusAnswer(testing::compatibleLocalStatus); };
        CompanionSettings settings;
        settings.cloudBackend = cloud;
        h.launch(settings);
        h.queue.runUntilIdle();
        h.companion->didFinishNavigation();
    }

    static ScriptMessage fromPage(json body) {
        return {std::move(body), true, {"http", "127.0.0.1", 47831}, nullptr};
    }

    void post(json body) { h.companion->didReceiveScriptMessage(fromPage(std::move(body))); }

    json readingStatus(bool visible) {
        return {{"action", "readingControls"}, {"visible", visible}, {"controlId", "note"}, {"draft", true},
                {"pending", false}, {"saving", false}, {"returningAfterSave", false}, {"saveAttempt", 0}};
    }

    std::vector<std::string> logEventsAfterLoad() {
        std::vector<std::string> events;
        for (const auto& line : h.logLines()) {
            const std::string event = line["event"];
            if (event == "script-error" || event == "unhandled-rejection") events.push_back(event + ":" + line["errorType"].get<std::string>());
        }
        return events;
    }

    testing::CompanionHarness h;
};

TEST_F(PageMessagesTest, OnlyTheLocalPagesMainFrameIsHeard) {
    launch();
    const size_t delivered = h.deliveredEvents().size();
    auto subFrame = fromPage({{"action", "openDictionary"}});
    subFrame.isMainFrame = false;
    h.companion->didReceiveScriptMessage(subFrame);
    for (const SecurityOrigin& origin : std::vector<SecurityOrigin>{{"http", "localhost", 47831},
                                                                    {"https", "127.0.0.1", 47831},
                                                                    {"HTTP", "127.0.0.1", 47831},
                                                                    {"http", "127.0.0.1", 8080},
                                                                    {"http", "127.0.0.1", 0}}) {
        auto message = fromPage({{"action", "openDictionary"}});
        message.origin = origin;
        h.companion->didReceiveScriptMessage(message);
    }
    post(json::object());
    post({{"action", 13}});
    post(json::array({"openDictionary"}));
    post({{"action", "OpenDictionary"}});
    EXPECT_EQ(h.deliveredEvents().size(), delivered);

    post({{"action", "openDictionary"}});
    EXPECT_EQ(h.deliveredEvents().back(), (json{{"type", "openDictionary"}}));
}

TEST_F(PageMessagesTest, DiagnosticsLogOnlyKnownNames) {
    launch();
    post({{"action", "diagnostic"}, {"event", "script-error"}, {"errorType", "TypeError"}});
    post({{"action", "diagnostic"}, {"event", "script-error"}, {"errorType", "secret page text"}});
    post({{"action", "diagnostic"}, {"event", "unhandled-rejection"}});
    post({{"action", "diagnostic"}, {"event", "navigation-finished"}, {"errorType", "Error"}});
    post({{"action", "diagnostic"}, {"errorType", "Error"}});
    post({{"action", "diagnostic"}, {"event", "script-error"}, {"errorType", 7}});
    EXPECT_EQ(logEventsAfterLoad(), (std::vector<std::string>{"script-error:TypeError", "script-error:UnknownError",
                                                              "unhandled-rejection:UnknownError",
                                                              "script-error:UnknownError"}));
}

TEST_F(PageMessagesTest, ReadingControlsShowTheStripOnlyForTheLocalPage) {
    launch();
    post(readingStatus(true));
    EXPECT_TRUE(h.companion->readingControls().visible);
    EXPECT_FALSE(h.panel.controlsHidden);
    post(readingStatus(false));
    EXPECT_TRUE(h.panel.controlsHidden);

    h.webView.url = "https://checkout.example.com/";
    post(readingStatus(true));
    EXPECT_FALSE(h.companion->readingControls().visible) << "the web view has left the local page";
    h.webView.url.reset();
    post(readingStatus(true));
    EXPECT_FALSE(h.companion->readingControls().visible) << "no current URL";
}

TEST_F(PageMessagesTest, StripButtonsReachOnlyALoadedLocalPage) {
    launch();
    post(readingStatus(true));
    auto& model = h.companion->readingControls();
    ASSERT_TRUE(model.perform(BriselReadingControlsModel::returnRequested, "note"));
    EXPECT_EQ(h.deliveredEvents().back(), (json{{"type", "returnRequested"}, {"controlId", "note"}}));

    const size_t delivered = h.deliveredEvents().size();
    h.webView.url = "https://example.com/";
    model.perform(BriselReadingControlsModel::returnRequested, "note");
    EXPECT_EQ(h.deliveredEvents().size(), delivered);

    h.webView.url = "http://127.0.0.1:47831/";
    h.companion->didStartProvisionalNavigation();
    EXPECT_FALSE(model.visible) << "a navigation resets the strip";
    EXPECT_TRUE(h.panel.controlsHidden);
}

TEST_F(PageMessagesTest, MapSizeAndQuit) {
    launch();
    const Rect compact = h.panel.currentFrame;
    post({{"action", "expandMap"}});
    EXPECT_EQ(h.panel.currentFrame.width, 1040);
    post({{"action", "compactMap"}});
    EXPECT_EQ(h.panel.currentFrame, compact);
    post({{"action", "quit"}});
    EXPECT_EQ(h.application.terminations, 1);
}

TEST_F(PageMessagesTest, CloudRequestsNeedTheCloudBackend) {
    const std::string signIn = "https://auth.brisel.app/#desktop-connect=abc";
    launch(false);
    const int activations = h.application.activations;
    post({{"action", "desktopSignedIn"}});
    post({{"action", "openAuthBrowser"}, {"url", signIn}});
    EXPECT_EQ(h.application.activations, activations);
    EXPECT_TRUE(h.workspace.opened.empty());
}

TEST_F(PageMessagesTest, CloudSignInShowsThePanelAndOpensOnlyTheSignInPage) {
    launch(true);
    const int activations = h.application.activations;
    post({{"action", "desktopSignedIn"}});
    EXPECT_EQ(h.application.activations, activations + 1);
    EXPECT_EQ(h.deliveredEvents().back()["type"], "status");

    post({{"action", "openAuthBrowser"}, {"url", "https://auth.brisel.app/#desktop-connect=abc"}});
    post({{"action", "openAuthBrowser"}, {"url", "https://auth.brisel.app/login#desktop-connect=abc"}});
    post({{"action", "openAuthBrowser"}, {"url", 42}});
    EXPECT_EQ(h.workspace.opened, std::vector<std::string>{"https://auth.brisel.app/#desktop-connect=abc"});
}

}  // namespace
}  // namespace brisel
