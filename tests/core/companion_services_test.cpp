// The companion as the owner of the capture, the shortcuts and the two bridges: what each page
// request, panel close, key press and navigation reaches, and what the page hears back.
#include <gtest/gtest.h>

#include "capture/capture_texts.h"
#include "core/export_test_support.h"
#include "fakes/companion_harness.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::FakeHotKeys;

constexpr uint32_t commandOption = BriselKeyBinding::command | BriselKeyBinding::option;
constexpr uint32_t commandShift = BriselKeyBinding::command | BriselKeyBinding::shift;

class CompanionServicesTest : public ::testing::Test {
protected:
    void launch() {
        h.http.answer = [](const std::string&) { return testing::statusAnswer(testing::compatibleLocalStatus); };
        h.launch();
        h.queue.runUntilIdle();
    }
    void launchAndLoad() {
        launch();
        h.companion->didFinishNavigation();
    }

    ScriptMessage fromPage(json body) const {
        return {std::move(body), true, {"http", "127.0.0.1", 47831}, h.webView.identity()};
    }
    void post(json body) { h.companion->didReceiveScriptMessage(fromPage(std::move(body))); }

    std::vector<json> statuses() const {
        std::vector<json> found;
        for (const auto& event : h.deliveredEvents()) {
            if (event["type"] == "status") found.push_back(event);
        }
        return found;
    }
    std::vector<std::string> eventTypes() const {
        std::vector<std::string> types;
        for (const auto& event : h.deliveredEvents()) types.push_back(event["type"]);
        return types;
    }
    // The results the export bridge sent the page.
    std::vector<nlohmann::json> exportResults() const {
        std::vector<nlohmann::json> results;
        for (const auto& call : h.webView.calls) {
            if (call.functionBody == exportResultScript) results.push_back(call.arguments.at("result"));
        }
        return results;
    }
    const std::vector<nlohmann::json> oneCanceledExport{
        {{"requestId", testing::exportRequestId}, {"status", "canceled"}}};

    testing::CompanionHarness h;
};

// MARK: - Shortcuts and the hot key

TEST_F(CompanionServicesTest, LaunchRegistersTheCaptureKeyAndTheStatusDescribesTheBindings) {
    h.accessibility.trusted = false;
    launchAndLoad();
    EXPECT_EQ(h.hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{40, commandOption}}));
    const json status = statuses().back();
    EXPECT_EQ(status["accessibility"], false);
    EXPECT_EQ(status["shortcut"], "⌥⌘K");
    EXPECT_EQ(status["shortcuts"], h.companion->shortcuts().bindings().webValue(h.keyboardLayout));
    EXPECT_FALSE(status.contains("error"));
    EXPECT_EQ(h.companion->readingControls().saveShortcut.label, "⌘Enter");
    EXPECT_EQ(h.companion->readingControls().returnShortcut.key, "\x1b");
}

TEST_F(CompanionServicesTest, AHandlerThatCannotBeInstalledIsAStandingErrorButNotTheLatest) {
    h.hotKeys.installStatus = -108;
    launchAndLoad();
    EXPECT_TRUE(h.hotKeys.live().empty());
    EXPECT_EQ(statuses().back()["error"], shortcut_texts::hotKeyHandlerNotInstalled);
    // A capture's own refusal says what just happened instead.
    post({{"action", "capture"}});
    h.queue.runUntilIdle();
    EXPECT_EQ(statuses().back()["error"], capture_texts::selectInKindle);
}

TEST_F(CompanionServicesTest, RecordingTheCaptureKeyReleasesItAndTheNewKeyReplacesTheOld) {
    launchAndLoad();
    post({{"action", "openSettings"}});
    EXPECT_EQ(h.settingsWindow.shows, 1);
    EXPECT_EQ(h.settingsWindow.settings, &h.companion->shortcuts());
    EXPECT_GT(h.application.activations, 0);

    h.companion->shortcuts().begin(BriselShortcutAction::capture);
    ASSERT_TRUE(h.keyRecorder.installed());
    EXPECT_TRUE(h.hotKeys.live().empty());
    // Pressing the old capture combination now records instead of capturing.
    EXPECT_TRUE(h.hotKeys.pressed());
    h.queue.runUntilIdle();
    const auto types = eventTypes();
    EXPECT_EQ(std::count(types.begin(), types.end(), "captureStarted"), 0);

    // A key typed in another window is that window's: it is neither recorded nor swallowed.
    EXPECT_FALSE(h.keyRecorder.press({1, event_modifier::command | event_modifier::option}, false));
    EXPECT_EQ(h.companion->shortcuts().bindings().capture, (BriselKeyBinding{40, commandOption}));
    EXPECT_EQ(h.companion->shortcuts().recording(), BriselShortcutAction::capture);
    EXPECT_TRUE(h.keyRecorder.press({8, event_modifier::command | event_modifier::shift}));
    EXPECT_FALSE(h.keyRecorder.installed());
    EXPECT_EQ(h.keyRecorder.removals, 1);
    EXPECT_EQ(h.hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{8, commandShift}}));
    EXPECT_EQ(statuses().back()["shortcut"], "⇧⌘C");
    ASSERT_TRUE(h.preferences.get(BriselShortcutSettings::storageKey));
    EXPECT_NE(h.preferences.get(BriselShortcutSettings::storageKey)->find("\"keyCode\":8"), std::string::npos);
}

TEST_F(CompanionServicesTest, AKeyThatCannotBeRegisteredIsRefusedAndTheOldOneKeepsWorking) {
    launchAndLoad();
    h.hotKeys.takenByOthers.insert({8, commandShift});
    h.companion->shortcuts().begin(BriselShortcutAction::capture);
    h.keyRecorder.press({8, event_modifier::command | event_modifier::shift});
    EXPECT_EQ(h.companion->shortcuts().message(), "⇧⌘C" + std::string(shortcut_texts::hotKeyNotRegisteredAfterLabel));
    EXPECT_EQ(h.companion->shortcuts().bindings().capture, (BriselKeyBinding{40, commandOption}));
    EXPECT_FALSE(h.preferences.get(BriselShortcutSettings::storageKey));
    EXPECT_EQ(h.companion->shortcuts().recording(), BriselShortcutAction::capture);
    h.companion->shortcuts().cancel();
    EXPECT_EQ(h.hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{40, commandOption}}));
}

TEST_F(CompanionServicesTest, ChangingTheSaveKeyMovesTheStripsHint) {
    launchAndLoad();
    int redraws = 0;
    h.companion->readingControls().onChange = [&] { ++redraws; };
    h.companion->shortcuts().begin(BriselShortcutAction::saveAndReturn);
    h.keyRecorder.press({1, event_modifier::command | event_modifier::control});
    constexpr uint32_t controlCommand = BriselKeyBinding::command | BriselKeyBinding::control;
    EXPECT_EQ(h.companion->readingControls().saveShortcut,
              (BriselReadingControlsModel::ShortcutHint{"s", controlCommand, "⌃⌘S"}));
    EXPECT_EQ(redraws, 1);
    EXPECT_EQ(statuses().back()["shortcuts"]["saveAndReturn"], (BriselKeyBinding{1, controlCommand}.webValue(h.keyboardLayout)));
}

TEST_F(CompanionServicesTest, TheHotKeyAsksForACaptureOnTheNextTurn) {
    launchAndLoad();
    ASSERT_TRUE(h.hotKeys.pressed());
    EXPECT_TRUE(statuses().back().value("error", "").empty());
    h.queue.runUntilIdle();
    // Kindle is not in front, so the capture ends in its refusal.
    EXPECT_EQ(statuses().back()["error"], capture_texts::selectInKindle);
}

TEST_F(CompanionServicesTest, TerminatingEndsTheBridgesAndReleasesKeyRecorderAndHandlerInOrder) {
    launchAndLoad();
    post(testing::exportBody(testing::encodeBase64(testing::zipLikeArchive(64))));
    ASSERT_EQ(h.savePanel.sheets.size(), 1u);
    h.companion->shortcuts().begin(BriselShortcutAction::returnToReading);
    h.hotKeys.calls.clear();
    h.companion->applicationWillTerminate();
    EXPECT_EQ(h.savePanel.cancels, 1);
    EXPECT_EQ(exportResults(), oneCanceledExport);
    EXPECT_FALSE(h.keyRecorder.installed());
    EXPECT_EQ(h.hotKeys.calls, std::vector<std::string>{"remove"});  // released when recording began
}

// MARK: - Capture and the return to reading

TEST_F(CompanionServicesTest, ClosingThePanelReturnsToKindleUntilThePageCanAskItself) {
    h.applications.add(501, kindleBundleID);
    launch();
    h.companion->panelShouldClose();
    EXPECT_EQ(h.applications.activations, std::vector<int32_t>{501});
    EXPECT_TRUE(h.deliveredEvents().empty());

    h.companion->didFinishNavigation();
    h.companion->panelShouldClose();
    EXPECT_EQ(h.applications.activations.size(), 1u);
    EXPECT_EQ(eventTypes().back(), "returnRequested");
}

TEST_F(CompanionServicesTest, ReturnAfterSaveOnlyFromTheFocusedPanelWhileNothingRuns) {
    h.applications.add(501, kindleBundleID);
    launchAndLoad();
    h.panel.key = false;
    post({{"action", "returnAfterSave"}});
    EXPECT_TRUE(h.applications.activations.empty());
    post({{"action", "returnToReading"}});
    EXPECT_EQ(h.applications.activations.size(), 1u);

    h.panel.key = true;
    h.applications.frontmostPID = 501;
    const std::string measurement(64, 'a');
    post({{"action", "returnAfterSave"}, {"measurementId", measurement}});
    EXPECT_EQ(h.applications.activations.size(), 2u);
    const json returned = h.deliveredEvents().back();
    EXPECT_EQ(returned, (json{{"type", "readingReturned"}, {"measurementId", measurement}, {"saved", true}, {"success", true}}));
}

TEST_F(CompanionServicesTest, CaptureWithoutAccessibilityAndTheWayToItsSettings) {
    h.accessibility.trusted = false;
    h.applications.add(501, kindleBundleID);
    h.applications.frontmostPID = 501;
    launchAndLoad();
    post({{"action", "capture"}});
    EXPECT_EQ(statuses().back()["error"], capture_texts::allowAccessibility);
    EXPECT_FALSE(h.companion->capture().captureInFlight());

    post({{"action", "openAccessibilitySettings"}});
    EXPECT_EQ(h.accessibility.trustChecks().back(), true);
    EXPECT_EQ(h.workspace.opened.back(),
              "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility");
}

// MARK: - The sign-in and export bridges

TEST_F(CompanionServicesTest, ExportIsServedFirstAndEndsWithTheNextNavigation) {
    launchAndLoad();
    post(testing::exportBody(testing::encodeBase64(testing::zipLikeArchive(64))));
    ASSERT_EQ(h.savePanel.sheets.size(), 1u);
    h.companion->didStartProvisionalNavigation();
    EXPECT_EQ(h.savePanel.cancels, 1);
    EXPECT_EQ(exportResults(), oneCanceledExport);
}

TEST_F(CompanionServicesTest, SignInEndsWithThePanelAndBillingNeedsTheSignInBridgesTrust) {
    h.configuration = JsonConfigurationValues(testing::signInConfiguration());
    launchAndLoad();
    post({{"action", "authenticate"}, {"requestId", testing::firstRequest}, {"provider", "apple.com"},
          {"nonce", testing::validNonce}});
    ASSERT_EQ(h.apple.requests.size(), 1u);
    h.companion->panelShouldClose();
    EXPECT_EQ(h.apple.cancels, 1);
    EXPECT_FALSE(h.companion->nativeAuth()->pending());

    const std::string billing = "https://apps.apple.com/account/subscriptions";
    auto unknownView = fromPage({{"action", "openBilling"}, {"url", billing}});
    unknownView.webView = nullptr;
    h.companion->didReceiveScriptMessage(unknownView);
    EXPECT_TRUE(h.workspace.opened.empty());
    post({{"action", "openBilling"}, {"url", billing + "?"}});
    EXPECT_TRUE(h.workspace.opened.empty());
    post({{"action", "openBilling"}, {"url", billing}});
    EXPECT_EQ(h.workspace.opened, std::vector<std::string>{billing});
}

TEST_F(CompanionServicesTest, SignInWithoutThePanelsWindowFails) {
    h.configuration = JsonConfigurationValues(testing::signInConfiguration());
    launchAndLoad();
    h.panel.window = false;
    post({{"action", "authenticate"}, {"requestId", testing::firstRequest}, {"provider", "apple.com"},
          {"nonce", testing::validNonce}});
    EXPECT_TRUE(h.apple.requests.empty());
    ASSERT_EQ(h.webView.calls.size(), 1u);
    EXPECT_EQ(h.webView.calls[0].arguments.at("detail"),
              (nlohmann::json{{"requestId", testing::firstRequest}, {"provider", "apple.com"}, {"error", "failed"}}));
}

TEST_F(CompanionServicesTest, GoogleRedirectsReachTheLibraryOnlyThroughTheBridge) {
    h.configuration = JsonConfigurationValues(testing::signInConfiguration());
    launchAndLoad();
    const std::string redirect = std::string(testing::validRedirectScheme) + ":/oauth2redirect";
    h.companion->openURL(redirect);
    EXPECT_TRUE(h.google.handledURLs.empty());
    post({{"action", "authenticate"}, {"requestId", testing::firstRequest}, {"provider", "google.com"}});
    h.companion->openURL(redirect);
    EXPECT_EQ(h.google.handledURLs.size(), 1u);
}

}  // namespace
}  // namespace brisel
