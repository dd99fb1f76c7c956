// Pressing Kindle's Copy and collecting its copy from the clipboard.
#include <utility>

#include "app/product.h"
#include "capture/accessibility_copy.h"
#include "capture/capture_texts.h"
#include "capture/kindle_capture.h"
#include "util/text.h"

namespace brisel {

// MARK: - Search

void BriselKindleCapture::searchForCopyControl(int32_t processID) {
    // The background task touches only the ports; the capture itself only after the hop, and
    // only while it still exists.
    ports_.background.run([alive = std::weak_ptr<bool>(alive_), this, processID, &accessibility = ports_.accessibility,
                           &queue = ports_.mainQueue] {
        if (alive.expired()) return;
        auto control = searchKindleForCopyControl(accessibility, processID, [&queue] { return queue.now(); });
        // A greyed-out Copy (nothing selected, or more than Kindle lets anyone copy) is told
        // here, with the search's other questions to Kindle, rather than on the main thread.
        if (control && !isEnabledCopyControl(accessibility, *control)) control.reset();
        queue.post([alive, this, processID, control = std::move(control)] {
            if (alive.lock()) enabledCopyControlFound(processID, control);
        });
    });
}

void BriselKindleCapture::enabledCopyControlFound(int32_t processID,
                                                  const std::optional<AccessibilityElement>& control) {
    if (!isFrontmost(processID)) {
        endWithMessage(capture_texts::switchedDuringSearch);
        return;
    }
    if (!control) {
        endWithMessage(capture_texts::copyUnavailable);
        return;
    }
    copySelection(*control, processID);
}

// MARK: - Press

void BriselKindleCapture::copySelection(const AccessibilityElement& copyControl, int32_t sourcePID) {
    if (!kindleIsFrontmost(sourcePID) || !isEnabledCopyControl(ports_.accessibility, copyControl)) {
        endWithMessage(capture_texts::copyUnavailableChooseAgain);
        return;
    }
    KindleClipboardSnapshot::take(ports_.pasteboard, ports_.mainQueue.now() + snapshotTimeLimit,
                                  weakly([this, copyControl, sourcePID](std::optional<KindleClipboardSnapshot> snapshot) {
                                      pressCopy(copyControl, sourcePID, std::move(snapshot));
                                  }));
}

void BriselKindleCapture::pressCopy(const AccessibilityElement& copyControl, int32_t sourcePID,
                                    std::optional<KindleClipboardSnapshot> snapshot) {
    AccessibilityPort& accessibility = ports_.accessibility;
    if (!snapshot) {
        endWithMessage(capture_texts::clipboardCannotBeKept);
        return;
    }
    // Nothing since the snapshot was noted may have changed what it stands for; the press
    // follows in this same turn.
    if (ports_.pasteboard.changeCount() != snapshot->changeCount || !isFrontmost(sourcePID) ||
        !isEnabledCopyControl(accessibility, copyControl)) {
        endWithMessage(capture_texts::changedBeforeCopy);
        return;
    }
    const int32_t pressed = accessibility.performAction(copyControl, accessibility_copy::press);
    if (pressed != accessibility_error::success && pressed != accessibility_error::cannotComplete) {
        endWithMessage(capture_texts::copyNotConfirmed);
        return;
    }
    // An unconfirmed press is still waited for, so the clipboard is put back if Kindle did copy.
    waitForCopy(std::make_shared<const KindleClipboardSnapshot>(std::move(*snapshot)), sourcePID,
                pressed == accessibility_error::success, ports_.mainQueue.now() + copyWaitTimeLimit);
}

// MARK: - Copy wait

void BriselKindleCapture::waitForCopy(std::shared_ptr<const KindleClipboardSnapshot> snapshot, int32_t sourcePID,
                                      bool copyCompleted, Clock::time_point deadline) {
    // Every round proves again that Kindle is in front, so another program's copy is never
    // taken for Kindle's.
    if (!kindleIsFrontmost(sourcePID)) {
        endWithMessage(capture_texts::switchedDuringCopy);
        return;
    }
    const int64_t written = ports_.pasteboard.changeCount();
    if (written == snapshot->changeCount) {
        finishCopyRound(std::move(snapshot), sourcePID, copyCompleted, deadline, written, std::nullopt);
        return;
    }
    // The text is asked for within the wait's own deadline: a slow owner cannot stretch it.
    ports_.pasteboard.readPlainText(deadline, weakly([this, snapshot = std::move(snapshot), sourcePID, copyCompleted,
                                                      deadline, written](PasteboardPort::TextRead text) {
        finishCopyRound(snapshot, sourcePID, copyCompleted, deadline, written, std::move(text));
    }));
}

void BriselKindleCapture::finishCopyRound(std::shared_ptr<const KindleClipboardSnapshot> snapshot, int32_t sourcePID,
                                          bool copyCompleted, Clock::time_point deadline, int64_t written,
                                          std::optional<std::string> text) {
    PasteboardPort& pasteboard = ports_.pasteboard;
    // Still Kindle, and nobody wrote while the text was read: not half a copy. A round that saw
    // no change read nothing, so a copy landing after its look at the count is the next round's.
    const bool changed = written != snapshot->changeCount;
    if (!isFrontmost(sourcePID) || (changed && pasteboard.changeCount() != written)) {
        endWithMessage(capture_texts::copyUnverified);
        return;
    }
    if (!changed || !text || trimWhitespaceAndNewlines(*text).empty()) {
        if (ports_.mainQueue.now() >= deadline) {
            endWithMessage(capture_texts::noCopyReceived);
            return;
        }
        ports_.mainQueue.postAfter(copyPollInterval, weakly([this, snapshot = std::move(snapshot), sourcePID,
                                                             copyCompleted, deadline] {
            waitForCopy(snapshot, sourcePID, copyCompleted, deadline);
        }));
        return;
    }
    // Unverified text stays on the clipboard, as the message tells the user.
    const auto copy = verifiedKindleCopy(*text);
    if (!copy) {
        endWithMessage(capture_texts::copyUnverified);
        return;
    }
    const size_t length = unicodeScalarCount(copy->text);
    if (!isFrontmost(sourcePID)) {
        endWithMessage(capture_texts::changedAfterCopy);
        return;
    }
    // Only over Kindle's own write: anything written after it is somebody else's and stays.
    if (!snapshot->restore(pasteboard, written)) {
        endWithMessage(capture_texts::changedAfterCopy);
        return;
    }
    if (copyCompleted && length <= static_cast<size_t>(maximumKindleSelectionCharacters)) {
        completeCapture(*copy);
        return;
    }
    endWithMessage(copyCompleted ? capture_texts::passageTooLong : capture_texts::unconfirmedCopyRefused);
}

void BriselKindleCapture::completeCapture(const VerifiedKindleCopy& copy) {
    captureInFlight_ = false;
    host_.showPanel();
    host_.sendStatus(std::nullopt);
    host_.dispatch({{"type", "selection"},
                    {"text", copy.text},
                    {"context", ""},
                    {"source", {{"app", "Kindle"}, {"bundleId", kindleBundleID}, {"title", copy.title}, {"chapter", copy.chapter}}},
                    {"captureMethod", "kindle-standard-copy"}});
}

}  // namespace brisel
