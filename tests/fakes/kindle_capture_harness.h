#pragma once

#include <memory>
#include <optional>
#include <string>

#include "capture/kindle_capture.h"
#include "fakes/fake_background_queue.h"
#include "fakes/fake_capture_host.h"
#include "fakes/fake_kindle_accessibility.h"
#include "fakes/fake_pasteboard.h"
#include "fakes/fake_running_applications.h"
#include "fakes/virtual_main_queue.h"

namespace brisel::testing {

inline const std::string kindlePassage = "Some passage.";
inline const std::string kindleCitation = "Doe, Jane. A Title (p. 12). Kindle Edition.";
inline std::string kindleCopyOf(const std::string& passage) { return passage + "\n\n" + kindleCitation; }

// What Kindle does when its Copy is pressed.
struct FakeKindleCopy {
    int32_t pressResult = 0;
    std::optional<std::string> text = kindleCopyOf(kindlePassage);  // none: Kindle writes nothing
    std::optional<Duration> delay;  // none: written during the press
};

// A capture over fakes on virtual time: Kindle (pid 501) in front with a selection, the
// companion (pid 4242), an editor (pid 777), and the user's clipboard holding a text and an image.
struct KindleCaptureHarness {
    static constexpr int32_t kindlePID = 501;
    static constexpr int32_t companionPID = 4242;
    static constexpr int32_t editorPID = 777;
    static constexpr const char* kindleID = "com.amazon.Lassen";

    VirtualMainQueue queue;
    FakeBackgroundQueue background;
    FakePasteboard pasteboard;
    FakeAccessibility accessibility;
    FakeRunningApplications applications;
    FakeCaptureHost host;
    FakeKindleTree kindle;
    FakeKindleCopy kindleCopy;
    FakePasteboardContents userClipboard;
    int uuidCount = 0;
    std::unique_ptr<BriselKindleCapture> capture;

    explicit KindleCaptureHarness(FakeKindleTree::Options tree = {}) {
        applications.add(companionPID, "app.brisel.Brisel");
        applications.add(kindlePID, kindleID);
        applications.add(editorPID, "org.example.editor");
        applications.frontmostPID = kindlePID;
        useTree(tree);
        userClipboard = {{{"public.utf8-plain-text", std::string("the user's note")},
                          {"public.rtf", std::string("{\\rtf1 the user's note}")}},
                         {{"public.png", std::string("\x89PNG\r\n\x1a\n\0\xff", 10)}}};
        pasteboard.contents = userClipboard;
    }

    void useTree(FakeKindleTree::Options options) {
        kindle = FakeKindleTree::make(options);
        accessibility.applications[kindlePID] = kindle.application;
        for (const auto& control : {kindle.toolbarCopy, kindle.menuCopy}) {
            if (control) control->onPress = [this] { return pressKindleCopy(); };
        }
    }

    BriselKindleCapture& make() {
        capture = std::make_unique<BriselKindleCapture>(
            KindleCapturePorts{queue, background, pasteboard, accessibility, applications}, host,
            [this] { return "uuid-" + std::to_string(++uuidCount); });
        return *capture;
    }

    // Kindle copies its selection: during the press, or later on the main queue.
    int32_t pressKindleCopy() {
        if (kindleCopy.text) {
            const std::string text = *kindleCopy.text;
            if (kindleCopy.delay) {
                queue.postAfter(*kindleCopy.delay, [this, text] { pasteboard.replace(plainTextContents(text), "kindle"); });
            } else {
                pasteboard.replace(plainTextContents(text), "kindle");
            }
        }
        return kindleCopy.pressResult;
    }

    // Activation brings the application to the front after `delay` (none: never).
    void activationTakes(std::optional<Duration> delay) {
        applications.onActivate = [this, delay](const RunningApplication& application) {
            if (!delay) return;
            const int32_t processID = application.processID;
            queue.postAfter(*delay, [this, processID] { applications.frontmostPID = processID; });
        };
    }

    Clock::duration elapsed(Clock::time_point since) const { return queue.now() - since; }
};

}  // namespace brisel::testing
