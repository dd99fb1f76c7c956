#include <gtest/gtest.h>

#include <cctype>
#include <optional>
#include <string>
#include <vector>

#include "capture/capture_texts.h"
#include "capture/kindle_capture.h"
#include "fakes/kindle_capture_harness.h"

namespace brisel {
namespace {

using nlohmann::json;
using Calls = std::vector<std::string>;
using Harness = testing::KindleCaptureHarness;

const std::string measurementID = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

std::string status(const char* error) { return std::string("status: ") + error; }

class KindleCaptureRequestTest : public ::testing::Test {
protected:
    void companionInFront() { h.applications.frontmostPID = Harness::companionPID; }

    std::optional<json> readingReturned() const {
        for (const auto& event : h.host.events) {
            if (event["type"] == "readingReturned") return event;
        }
        return std::nullopt;
    }

    Harness h;
    BriselKindleCapture& capture = h.make();
};

TEST_F(KindleCaptureRequestTest, WithKindleInFrontTheCaptureStartsAtOnce) {
    capture.requestCaptureFromKindle();
    h.queue.runUntilIdle();
    EXPECT_EQ(h.host.calls, (Calls{"event: captureStarted", "showPanel", "status", "event: selection"}));
    EXPECT_EQ(h.host.events.back(), json::parse(R"({"type": "selection", "text": "Some passage.", "context": "",
        "source": {"app": "Kindle", "bundleId": "com.amazon.Lassen", "title": "A Title", "chapter": "p. 12"},
        "captureMethod": "kindle-standard-copy"})"));
    EXPECT_EQ(h.pasteboard.contents, h.userClipboard);
    EXPECT_TRUE(h.applications.activations.empty());
    EXPECT_EQ(h.accessibility.trustChecks(), std::vector<bool>{false});
    EXPECT_EQ(capture.sourceApp(), (RunningApplication{Harness::kindlePID, Harness::kindleID}));
    EXPECT_FALSE(capture.captureInFlight());
    EXPECT_FALSE(capture.captureHandoffInFlight());
}

TEST_F(KindleCaptureRequestTest, ASecondRequestWhileACaptureRunsIsIgnored) {
    h.background.runsAtOnce = false;
    capture.requestCaptureFromKindle();
    capture.requestCaptureFromKindle();
    capture.captureFromKindle();
    EXPECT_EQ(h.background.started, 1);
    EXPECT_TRUE(capture.captureInFlight());
    h.background.runNext();
    h.queue.runUntilIdle();
    EXPECT_EQ(h.host.eventTypes(), (std::vector<std::string>{"captureStarted", "selection"}));
    EXPECT_EQ(h.host.statuses.size(), 1u);
}

TEST_F(KindleCaptureRequestTest, ASecondRequestDuringAHandOffIsIgnored) {
    companionInFront();
    h.activationTakes(Duration(300));
    capture.requestCaptureFromKindle();
    capture.requestCaptureFromKindle();
    EXPECT_EQ(h.applications.activations.size(), 1u);
    EXPECT_EQ(h.host.eventTypes(), std::vector<std::string>{"captureStarted"});
    h.queue.advance(Duration(3000));
    EXPECT_EQ(h.host.eventTypes(), (std::vector<std::string>{"captureStarted", "captureStarted", "selection"}));
}

TEST_F(KindleCaptureRequestTest, ARequestFromAnyOtherApplicationIsRefused) {
    for (const std::optional<int32_t> frontmost : {std::optional<int32_t>(Harness::editorPID), std::optional<int32_t>()}) {
        Harness other;
        auto& c = other.make();
        other.applications.frontmostPID = frontmost;
        c.requestCaptureFromKindle();
        EXPECT_EQ(other.host.calls, (Calls{"showPanel", status(capture_texts::selectInKindle)}));
        EXPECT_TRUE(other.applications.activations.empty());
    }
}

TEST_F(KindleCaptureRequestTest, AnApplicationWithoutABundleIdentifierIsNeitherKindleNorUs) {
    h.applications.add(888, std::nullopt);
    h.applications.own.reset();
    h.applications.frontmostPID = 888;
    capture.requestCaptureFromKindle();
    EXPECT_EQ(h.host.calls, (Calls{"showPanel", status(capture_texts::selectInKindle)}));

    h.host.forget();
    companionInFront();
    capture.requestCaptureFromKindle();
    EXPECT_EQ(h.host.calls, (Calls{"showPanel", status(capture_texts::selectInKindle)}));
}

TEST_F(KindleCaptureRequestTest, FromThePanelWithoutKindleRunningTheUserIsToldToOpenKindle) {
    companionInFront();
    h.applications.terminate(Harness::kindlePID);
    capture.requestCaptureFromKindle();
    EXPECT_EQ(h.host.calls, (Calls{"showPanel", status(capture_texts::openKindle)}));
    EXPECT_FALSE(capture.captureHandoffInFlight());
}

TEST_F(KindleCaptureRequestTest, FromThePanelKindleIsBroughtForwardFirst) {
    companionInFront();
    h.activationTakes(Duration(300));
    capture.requestCaptureFromKindle();
    EXPECT_TRUE(capture.captureHandoffInFlight());
    EXPECT_EQ(h.applications.activations, std::vector<int32_t>{Harness::kindlePID});
    h.queue.advance(Duration(300));
    EXPECT_EQ(h.host.calls, (Calls{"event: captureStarted", "orderOutPanel", "event: captureStarted", "showPanel",
                                   "status", "event: selection"}));
    EXPECT_FALSE(capture.captureHandoffInFlight());
    EXPECT_FALSE(capture.captureInFlight());
}

TEST_F(KindleCaptureRequestTest, KindleIsNoticedAtTheNextTenthOfASecond) {
    companionInFront();
    h.activationTakes(Duration(150));
    const auto start = h.queue.now();
    std::optional<Clock::duration> orderedOut;
    h.host.onCall = [&](const std::string& call) {
        if (call == "orderOutPanel") orderedOut = h.elapsed(start);
    };
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(1000));
    EXPECT_EQ(orderedOut, Duration(200));
}

TEST_F(KindleCaptureRequestTest, KindleInFrontAfter1900MillisecondsIsInTime) {
    companionInFront();
    h.activationTakes(Duration(1900));
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(5000));
    EXPECT_EQ(h.host.eventTypes(), (std::vector<std::string>{"captureStarted", "captureStarted", "selection"}));
}

TEST_F(KindleCaptureRequestTest, KindleNotInFrontWithinTwoSecondsEndsTheCapture) {
    for (const std::optional<Duration> activation : {std::optional<Duration>(), std::optional<Duration>(2050)}) {
        Harness other;
        auto& c = other.make();
        other.applications.frontmostPID = Harness::companionPID;
        other.activationTakes(activation);
        c.requestCaptureFromKindle();
        other.queue.advance(Duration(1999));
        EXPECT_TRUE(c.captureHandoffInFlight());
        EXPECT_EQ(other.host.calls, Calls{"event: captureStarted"});
        other.queue.advance(Duration(1));
        EXPECT_EQ(other.host.calls,
                  (Calls{"event: captureStarted", "showPanel", status(capture_texts::kindleNotBroughtForward)}));
        EXPECT_FALSE(c.captureHandoffInFlight());
        EXPECT_FALSE(c.captureInFlight());
        other.queue.advance(Duration(5000));
        EXPECT_EQ(other.host.statuses.size(), 1u);
    }
}

TEST_F(KindleCaptureRequestTest, AHandOffGoesToTheKindleOfTheLastCaptureWhileItRuns) {
    h.applications.add(502, Harness::kindleID);
    h.accessibility.applications[502] = h.kindle.application;
    h.applications.frontmostPID = 502;
    capture.requestCaptureFromKindle();
    h.queue.runUntilIdle();
    EXPECT_EQ(capture.sourceApp(), (RunningApplication{502, Harness::kindleID}));

    companionInFront();
    h.activationTakes(Duration(100));
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(3000));
    EXPECT_EQ(h.applications.activations, std::vector<int32_t>{502});

    // Once it has quit, the first Kindle running.
    h.applications.terminate(502);
    companionInFront();
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(3000));
    EXPECT_EQ(h.applications.activations, (std::vector<int32_t>{502, Harness::kindlePID}));
}

TEST_F(KindleCaptureRequestTest, NoCaptureBeforeThePageIsReady) {
    h.host.ready = false;
    capture.requestCaptureFromKindle();
    EXPECT_EQ(h.host.calls, (Calls{"showPanel", status(capture_texts::pageNotReady)}));
    EXPECT_EQ(capture.sourceApp(), std::nullopt);

    h.host.forget();
    companionInFront();
    h.activationTakes(Duration(100));
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(3000));
    EXPECT_EQ(h.host.calls, (Calls{"event: captureStarted", "orderOutPanel", "showPanel", status(capture_texts::pageNotReady)}));
}

TEST_F(KindleCaptureRequestTest, WithoutAccessibilityPermissionNothingIsSearched) {
    h.accessibility.trusted = false;
    capture.requestCaptureFromKindle();
    EXPECT_EQ(h.host.calls, (Calls{"showPanel", status(capture_texts::allowAccessibility)}));
    EXPECT_EQ(capture.sourceApp(), (RunningApplication{Harness::kindlePID, Harness::kindleID}));
    EXPECT_EQ(h.background.started, 0);
    EXPECT_FALSE(capture.captureInFlight());
}

TEST_F(KindleCaptureRequestTest, AHandOffToAnythingButARunningKindleFailsAtOnce) {
    const std::string token = capture.activationToken();
    std::vector<bool> results;
    capture.handoffToKindle({Harness::editorPID, "org.example.editor"}, [&](bool ok) { results.push_back(ok); });
    h.applications.terminate(Harness::kindlePID);
    capture.handoffToKindle({Harness::kindlePID, Harness::kindleID}, [&](bool ok) { results.push_back(ok); });
    EXPECT_EQ(results, (std::vector<bool>{false, false}));
    EXPECT_EQ(capture.activationToken(), token);
    EXPECT_TRUE(h.applications.activations.empty());
}

TEST_F(KindleCaptureRequestTest, TheActivationTokenIsFreshAtStartAndForEveryHandOff) {
    EXPECT_EQ(capture.activationToken(), "uuid-1");
    companionInFront();
    capture.returnToReading(std::nullopt, false);
    EXPECT_EQ(capture.activationToken(), "uuid-3");
}

TEST_F(KindleCaptureRequestTest, ReturnToReadingHandsTheFocusBackToKindle) {
    companionInFront();
    h.activationTakes(Duration(200));
    capture.returnToReading(measurementID, false);
    EXPECT_EQ(h.host.calls, Calls{"invalidateSignIn"});
    h.queue.advance(Duration(200));
    EXPECT_EQ(h.host.calls, (Calls{"invalidateSignIn", "orderOutPanel", "event: readingReturned"}));
    EXPECT_EQ(h.host.events.back(), (json{{"type", "readingReturned"}, {"measurementId", measurementID},
                                          {"saved", false}, {"success", true}}));
}

TEST_F(KindleCaptureRequestTest, AReturnDuringACaptureHandOffStopsTheCaptureSilently) {
    companionInFront();
    h.activationTakes(std::nullopt);
    capture.requestCaptureFromKindle();
    h.queue.advance(Duration(500));
    h.activationTakes(Duration(100));
    capture.returnToReading(measurementID, true);
    EXPECT_FALSE(capture.captureHandoffInFlight());
    h.queue.advance(Duration(5000));
    EXPECT_EQ(h.host.calls, (Calls{"event: captureStarted", "invalidateSignIn", "orderOutPanel", "event: readingReturned"}));
    EXPECT_EQ(h.host.events.back()["success"], true);
    EXPECT_EQ(h.host.events.back()["saved"], true);
    EXPECT_EQ(h.background.started, 0);
    EXPECT_FALSE(capture.captureInFlight());
    EXPECT_EQ(h.queue.pendingTasks(), 0u);
}

TEST_F(KindleCaptureRequestTest, OnlyTheNewestHandOffReports) {
    companionInFront();
    h.activationTakes(std::nullopt);
    capture.returnToReading("a" + measurementID.substr(1), false);
    h.queue.advance(Duration(1000));
    h.activationTakes(Duration(100));
    capture.returnToReading(measurementID, false);
    h.queue.advance(Duration(5000));
    ASSERT_EQ(h.host.eventTypes(), std::vector<std::string>{"readingReturned"});
    EXPECT_EQ(h.host.events[0]["measurementId"], measurementID);
    EXPECT_TRUE(h.host.statuses.empty());
}

TEST_F(KindleCaptureRequestTest, OnlyA64DigitLowerCaseHexIdentifierIsReported) {
    struct Case {
        std::optional<std::string> id;
        bool reported;
    };
    std::string upper = measurementID;
    for (auto& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const std::vector<Case> cases = {
        {measurementID, true},
        {measurementID.substr(1), false},           // 63 characters
        {measurementID + "0", false},               // 65
        {upper, false},
        {measurementID.substr(1) + "g", false},
        {" " + measurementID.substr(1), false},
        {std::string(), false},
        {std::nullopt, false},
        // Nothing may follow the 64 digits, not even a final line break.
        {measurementID + "\n", false},
        {measurementID + "\r\n", false},
        {measurementID + "\u2028", false},
        {measurementID + "\u0085", false},
        {measurementID + "\n\n", false},
    };
    for (const auto& c : cases) {
        Harness other;
        auto& cap = other.make();
        other.applications.frontmostPID = Harness::companionPID;
        other.activationTakes(Duration(100));
        cap.returnToReading(c.id, false);
        other.queue.advance(Duration(3000));
        // The return happens either way.
        EXPECT_EQ(other.applications.activations, std::vector<int32_t>{Harness::kindlePID});
        EXPECT_EQ(other.host.calls.back(), c.reported ? "event: readingReturned" : "orderOutPanel")
            << c.id.value_or("(none)");
        if (c.reported) {
            EXPECT_EQ(other.host.events.back()["measurementId"], *c.id);
        }
    }
    EXPECT_TRUE(isReadingMeasurementID(measurementID));
    EXPECT_FALSE(isReadingMeasurementID(upper));
}

TEST_F(KindleCaptureRequestTest, AReturnWithoutKindleOnlyReportsTheFailure) {
    companionInFront();
    h.applications.terminate(Harness::kindlePID);
    capture.returnToReading(measurementID, true);
    EXPECT_EQ(h.host.calls, (Calls{"invalidateSignIn", "orderOutPanel", "event: readingReturned"}));
    EXPECT_EQ(h.host.events.back(), (json{{"type", "readingReturned"}, {"measurementId", measurementID},
                                          {"saved", true}, {"success", false}}));
    EXPECT_TRUE(h.host.statuses.empty());
}

TEST_F(KindleCaptureRequestTest, AReturnThatKindleDoesNotAnswerShowsThePanelAgain) {
    companionInFront();
    h.activationTakes(std::nullopt);
    capture.returnToReading(measurementID, false);
    h.queue.advance(Duration(2000));
    EXPECT_EQ(h.host.calls, (Calls{"invalidateSignIn", "event: readingReturned", "showPanel",
                                   status(capture_texts::returnNotPossible)}));
    EXPECT_EQ(h.host.events.back()["success"], false);
}

TEST_F(KindleCaptureRequestTest, ReturnAfterSaveOnlyFromAnActiveKeyPanelWithNothingRunning) {
    companionInFront();
    h.activationTakes(std::nullopt);

    h.host.active = false;
    capture.returnAfterSave(measurementID);
    h.host.active = true;
    h.host.panelKey = false;
    capture.returnAfterSave(measurementID);
    h.host.panelKey = true;
    EXPECT_TRUE(h.host.calls.empty());

    capture.requestCaptureFromKindle();  // a hand-off is running
    capture.returnAfterSave(measurementID);
    EXPECT_EQ(h.host.calls, Calls{"event: captureStarted"});
    h.queue.advance(Duration(3000));

    h.host.forget();
    h.activationTakes(Duration(100));
    capture.returnAfterSave(measurementID);
    h.queue.advance(Duration(1000));
    EXPECT_EQ(h.host.calls, (Calls{"invalidateSignIn", "orderOutPanel", "event: readingReturned"}));
    EXPECT_EQ(h.host.events.back()["saved"], true);
}

TEST_F(KindleCaptureRequestTest, ReturnAfterSaveIsIgnoredWhileACaptureRuns) {
    h.background.runsAtOnce = false;
    capture.requestCaptureFromKindle();
    capture.returnAfterSave(measurementID);
    EXPECT_EQ(h.host.calls, Calls{"event: captureStarted"});
    // A plain return still runs, and the capture goes on.
    capture.returnToReading(measurementID, false);
    h.background.runNext();
    h.queue.advance(Duration(1000));
    EXPECT_EQ(h.host.eventTypes(), (std::vector<std::string>{"captureStarted", "readingReturned", "selection"}));
}

TEST_F(KindleCaptureRequestTest, EndingClearsTheFlagBeforeThePanelAndTheStatus) {
    h.kindle.copyControl()->setEnabled(false);
    std::vector<std::string> seen;
    h.host.onCall = [&](const std::string& call) {
        seen.push_back(call.substr(0, 6) + (capture.captureInFlight() ? " in flight" : " idle"));
    };
    capture.requestCaptureFromKindle();
    h.queue.runUntilIdle();
    EXPECT_EQ(seen, (std::vector<std::string>{"event: in flight", "showPa idle", "status idle"}));
    EXPECT_EQ(h.host.calls.back(), status(capture_texts::copyUnavailable));
}

}  // namespace
}  // namespace brisel
