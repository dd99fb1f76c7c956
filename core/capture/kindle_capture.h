#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "auth/uuid.h"
#include "capture/capture_host.h"
#include "capture/clipboard_snapshot.h"
#include "capture/kindle_copy_verification.h"
#include "platform/accessibility_port.h"
#include "platform/background_queue_port.h"
#include "platform/main_queue.h"
#include "platform/pasteboard_port.h"
#include "platform/running_applications_port.h"

namespace brisel {

// The ports must outlive the capture and any search still running in the background (the
// shells keep them for the life of the process).
struct KindleCapturePorts {
    MainQueue& mainQueue;
    BackgroundQueuePort& background;
    PasteboardPort& pasteboard;
    AccessibilityPort& accessibility;
    RunningApplicationsPort& applications;
};

// True for exactly what the page's measurement identifiers look like: 64 lower-case hexadecimal
// digits and nothing else.
bool isReadingMeasurementID(std::string_view text);

// Capturing the passage selected in Kindle, and handing the foreground back to Kindle.
//
// A capture brings Kindle forward when needed, finds and presses Kindle's own Copy, guards the
// user's clipboard around it, and delivers the verified passage to the page. Every capture ends
// exactly once: in a "selection" event, or in one sentence in the status event's "error".
// Waits reschedule themselves on the main queue; a newer hand-off supersedes an older one by
// `activationToken`, never by cancelling it. Main thread only, except the accessibility search,
// which runs as one background task per capture and hops back.
class BriselKindleCapture {
public:
    static constexpr Duration handoffTimeLimit{2000};
    static constexpr Duration activationPollInterval{100};
    static constexpr Duration copyWaitTimeLimit{2000};
    // A clipboard owner that has not handed over everything by then is not waited for.
    static constexpr Duration snapshotTimeLimit{2000};
    static constexpr Duration copyPollInterval{50};

    BriselKindleCapture(KindleCapturePorts ports, CaptureHost& host, UUIDSource uuids = randomUUIDString);
    BriselKindleCapture(const BriselKindleCapture&) = delete;
    BriselKindleCapture& operator=(const BriselKindleCapture&) = delete;

    // The one entry for capture requests: the hot key, and the page's "capture".
    void requestCaptureFromKindle();
    // Starts a capture with Kindle in front.
    void captureFromKindle();

    // Brings `application` to the front; `completion` gets true once it is, false after 2.0 s
    // or at once for an application that is not Kindle or has ended. A superseded hand-off
    // never completes.
    void handoffToKindle(const RunningApplication& application, std::function<void(bool)> completion);
    void waitForKindleActivation(int32_t processID, const std::string& token, Clock::time_point deadline,
                                 std::function<void(bool)> completion);

    // The page's "returnToReading", and the panel's close button before the page is ready.
    void returnToReading(const std::optional<std::string>& measurementID, bool saved);
    // The page's "returnAfterSave": ignored while a capture or hand-off runs, while this
    // application is not active, or while the panel is not the key window.
    void returnAfterSave(const std::optional<std::string>& measurementID);
    void reportReadingReturn(const std::optional<std::string>& measurementID, bool saved, bool success);

    // Takes the clipboard snapshot, then presses Kindle's Copy in the turn that completes it.
    void copySelection(const AccessibilityElement& copyControl, int32_t sourcePID);
    // One round of waiting for Kindle's copy; rounds repeat every 0.05 s until `deadline`.
    void waitForCopy(std::shared_ptr<const KindleClipboardSnapshot> snapshot, int32_t sourcePID, bool copyCompleted,
                     Clock::time_point deadline);
    void completeCapture(const VerifiedKindleCopy& copy);

    bool captureInFlight() const { return captureInFlight_; }
    bool captureHandoffInFlight() const { return captureHandoffInFlight_; }
    const std::string& activationToken() const { return activationToken_; }
    const std::optional<RunningApplication>& sourceApp() const { return sourceApp_; }

private:
    void searchForCopyControl(int32_t processID);
    // After the search: Kindle's Copy when it was found enabled, nothing otherwise.
    void enabledCopyControlFound(int32_t processID, const std::optional<AccessibilityElement>& control);
    void pressCopy(const AccessibilityElement& copyControl, int32_t sourcePID,
                   std::optional<KindleClipboardSnapshot> snapshot);
    void finishCopyRound(std::shared_ptr<const KindleClipboardSnapshot> snapshot, int32_t sourcePID,
                         bool copyCompleted, Clock::time_point deadline, int64_t written,
                         std::optional<std::string> text);
    std::optional<RunningApplication> kindleTarget() const;
    bool kindleIsFrontmost(int32_t processID) const;
    bool isFrontmost(int32_t processID) const;
    void endWithMessage(const char* message);

    // Wraps a callback that may run after this object is gone; it then does nothing.
    template <typename Function>
    auto weakly(Function function) {
        return [alive = std::weak_ptr<bool>(alive_), function = std::move(function)](auto&&... arguments) {
            if (alive.lock()) function(std::forward<decltype(arguments)>(arguments)...);
        };
    }

    KindleCapturePorts ports_;
    CaptureHost& host_;
    UUIDSource uuids_;
    bool captureInFlight_ = false;
    bool captureHandoffInFlight_ = false;
    std::string activationToken_;
    std::optional<RunningApplication> sourceApp_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace brisel
