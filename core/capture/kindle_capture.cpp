// Capture requests and the hand-off to Kindle.
#include "capture/kindle_capture.h"

#include <algorithm>
#include <utility>

#include "app/product.h"
#include "capture/accessibility_copy.h"
#include "capture/capture_texts.h"

namespace brisel {

namespace {

NativeEvent captureStarted() { return {{"type", "captureStarted"}}; }

}  // namespace

bool isReadingMeasurementID(std::string_view text) {
    // A plain check rather than a regular expression, whose "$" would also let a final line
    // break through.
    return text.size() == 64 &&
           std::all_of(text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

BriselKindleCapture::BriselKindleCapture(KindleCapturePorts ports, CaptureHost& host, UUIDSource uuids)
    : ports_(ports), host_(host), uuids_(std::move(uuids)), activationToken_(uuids_()) {}

// MARK: - Request

void BriselKindleCapture::requestCaptureFromKindle() {
    if (captureInFlight_ || captureHandoffInFlight_) return;
    const auto frontmost = ports_.applications.frontmostApplication();
    if (frontmost && frontmost->bundleID == kindleBundleID) {
        captureFromKindle();
        return;
    }
    // From anywhere but Kindle or our own panel, the text would not be Kindle's.
    const auto own = ports_.applications.ownBundleID();
    if (!frontmost || !frontmost->bundleID || !own || *frontmost->bundleID != *own) {
        endWithMessage(capture_texts::selectInKindle);
        return;
    }
    const auto target = kindleTarget();
    if (!target) {
        endWithMessage(capture_texts::openKindle);
        return;
    }
    captureHandoffInFlight_ = true;
    host_.dispatch(captureStarted());
    handoffToKindle(*target, [this](bool activated) {
        captureHandoffInFlight_ = false;
        if (activated) {
            captureFromKindle();
        } else {
            endWithMessage(capture_texts::kindleNotBroughtForward);
        }
    });
}

void BriselKindleCapture::captureFromKindle() {
    if (captureInFlight_) return;
    if (!host_.pageReady()) {
        endWithMessage(capture_texts::pageNotReady);
        return;
    }
    const auto frontmost = ports_.applications.frontmostApplication();
    if (!frontmost || frontmost->bundleID != kindleBundleID) {
        endWithMessage(capture_texts::selectInKindle);
        return;
    }
    sourceApp_ = *frontmost;
    if (!ports_.accessibility.isProcessTrusted(false)) {
        endWithMessage(capture_texts::allowAccessibility);
        return;
    }
    captureInFlight_ = true;
    host_.dispatch(captureStarted());
    searchForCopyControl(frontmost->processID);
}

// MARK: - Hand-off

void BriselKindleCapture::handoffToKindle(const RunningApplication& application,
                                          std::function<void(bool)> completion) {
    if (application.bundleID != kindleBundleID || ports_.applications.isTerminated(application)) {
        completion(false);
        return;
    }
    activationToken_ = uuids_();
    ports_.applications.activate(application);
    waitForKindleActivation(application.processID, activationToken_, ports_.mainQueue.now() + handoffTimeLimit,
                            std::move(completion));
}

void BriselKindleCapture::waitForKindleActivation(int32_t processID, const std::string& token,
                                                  Clock::time_point deadline, std::function<void(bool)> completion) {
    // A newer hand-off or a return to reading has taken over; only the newest ever reports.
    if (activationToken_ != token) return;
    if (isFrontmost(processID)) {
        host_.orderOutPanel();
        completion(true);
        return;
    }
    if (ports_.mainQueue.now() < deadline) {
        ports_.mainQueue.postAfter(activationPollInterval,
                                   weakly([this, processID, token, deadline, completion = std::move(completion)] {
                                       waitForKindleActivation(processID, token, deadline, completion);
                                   }));
        return;
    }
    completion(false);
}

// MARK: - Return to reading

void BriselKindleCapture::returnToReading(const std::optional<std::string>& measurementID, bool saved) {
    host_.invalidateSignIn();
    captureHandoffInFlight_ = false;
    activationToken_ = uuids_();
    const auto target = kindleTarget();
    if (!target) {
        host_.orderOutPanel();
        reportReadingReturn(measurementID, saved, false);
        return;
    }
    handoffToKindle(*target, [this, measurementID, saved](bool activated) {
        reportReadingReturn(measurementID, saved, activated);
        if (activated) return;
        host_.showPanel();
        host_.sendStatus(capture_texts::returnNotPossible);
    });
}

void BriselKindleCapture::returnAfterSave(const std::optional<std::string>& measurementID) {
    if (captureInFlight_ || captureHandoffInFlight_) return;
    if (!host_.applicationIsActive() || !host_.panelIsKeyWindow()) return;
    returnToReading(measurementID, true);
}

void BriselKindleCapture::reportReadingReturn(const std::optional<std::string>& measurementID, bool saved,
                                              bool success) {
    if (!measurementID || !isReadingMeasurementID(*measurementID)) return;
    host_.dispatch({{"type", "readingReturned"}, {"measurementId", *measurementID}, {"saved", saved}, {"success", success}});
}

// MARK: - Helpers

// The Kindle of the last capture while it runs, else the first Kindle running.
std::optional<RunningApplication> BriselKindleCapture::kindleTarget() const {
    if (sourceApp_ && !ports_.applications.isTerminated(*sourceApp_)) return sourceApp_;
    const auto running = ports_.applications.runningApplications(kindleBundleID);
    if (running.empty()) return std::nullopt;
    return running.front();
}

bool BriselKindleCapture::isFrontmost(int32_t processID) const {
    const auto frontmost = ports_.applications.frontmostApplication();
    return frontmost && frontmost->processID == processID;
}

bool BriselKindleCapture::kindleIsFrontmost(int32_t processID) const {
    const auto frontmost = ports_.applications.frontmostApplication();
    return frontmost && frontmost->bundleID == kindleBundleID && frontmost->processID == processID;
}

void BriselKindleCapture::endWithMessage(const char* message) {
    captureInFlight_ = false;
    host_.showPanel();
    host_.sendStatus(message);
}

}  // namespace brisel
