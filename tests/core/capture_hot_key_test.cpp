#include "capture/hot_key_manager.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/shortcut_fakes.h"
#include "fakes/virtual_main_queue.h"

namespace brisel {
namespace {

using Action = BriselShortcutAction;
using Calls = std::vector<std::string>;
using testing::FakeHotKeys;

constexpr uint32_t cmd = BriselKeyBinding::command;
constexpr uint32_t opt = BriselKeyBinding::option;
constexpr uint32_t ctrl = BriselKeyBinding::control;

const char* const notInstalled = "ショートカットを登録できませんでした。Briselのボタンから取得できます。";
const char* const noHandler = "ショートカットを登録できません。Briselを開き直してください。";
const char* const notRegistered = "を登録できませんでした。ほかのアプリやMacの設定との重複をご確認ください。";

const BriselKeyBinding optionCommandK{40, opt | cmd};
const BriselKeyBinding controlCommandJ{38, ctrl | cmd};

class CaptureHotKeyTest : public ::testing::Test {
protected:
    CaptureHotKey& make() {
        hotKey = std::make_unique<CaptureHotKey>(hotKeys, queue, layout, settings, [this] { ++captures; });
        return *hotKey;
    }

    CaptureHotKey& installed() {
        make().install();
        hotKeys.calls.clear();
        return *hotKey;
    }

    // The owner's wiring of the settings' hooks, as the companion makes it.
    void wireSettings() {
        settings.onApply = [this](const BriselShortcutBindings& candidate) {
            return hotKey->replaceCaptureShortcut(candidate.capture);
        };
        settings.onRecordingChange = [this](bool isRecording) { hotKey->recordingChanged(isRecording); };
    }

    testing::VirtualMainQueue queue;
    FakeHotKeys hotKeys;
    testing::FakeKeyValueStore store;
    testing::FakeKeyboardLayout layout = testing::FakeKeyboardLayout::us();
    BriselShortcutSettings settings{store};
    int captures = 0;
    std::unique_ptr<CaptureHotKey> hotKey;
};

TEST_F(CaptureHotKeyTest, InstallRegistersTheCaptureBinding) {
    auto& h = make();
    h.install();
    EXPECT_EQ(hotKeys.calls, (Calls{"install", "register 40/2304"}));
    EXPECT_TRUE(h.handlerInstalled());
    EXPECT_TRUE(h.registered());
    EXPECT_EQ(h.shortcutError(), std::nullopt);
    EXPECT_EQ(settings.message(), "");
}

TEST_F(CaptureHotKeyTest, AHandlerThatCannotBeInstalledRegistersNothing) {
    hotKeys.installStatus = -50;
    auto& h = make();
    h.install();
    EXPECT_EQ(hotKeys.calls, Calls{"install"});
    EXPECT_FALSE(h.handlerInstalled());
    EXPECT_EQ(h.shortcutError(), notInstalled);
    EXPECT_EQ(settings.message(), "");

    EXPECT_EQ(h.replaceCaptureShortcut(controlCommandJ), noHandler);
    EXPECT_EQ(hotKeys.calls, Calls{"install"});
    EXPECT_EQ(h.shortcutError(), notInstalled);
}

TEST_F(CaptureHotKeyTest, ATakenCaptureKeyAtLaunchIsAStandingErrorAndTheSettingsMessage) {
    hotKeys.takenByOthers.insert({40, opt | cmd});
    auto& h = make();
    h.install();
    const std::string message = std::string("⌥⌘K") + notRegistered;
    EXPECT_EQ(settings.message(), message);
    EXPECT_EQ(h.shortcutError(), message);
    EXPECT_FALSE(h.registered());
}

TEST_F(CaptureHotKeyTest, TheNewKeyIsRegisteredBeforeTheOldOneIsReleased) {
    auto& h = installed();
    EXPECT_EQ(h.replaceCaptureShortcut(controlCommandJ), std::nullopt);
    EXPECT_EQ(hotKeys.calls, (Calls{"register 38/4352", "unregister 40/2304"}));
    EXPECT_EQ(hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{38, ctrl | cmd}}));
}

TEST_F(CaptureHotKeyTest, TheSameBindingIsNotRegisteredAgain) {
    auto& h = installed();
    EXPECT_EQ(h.replaceCaptureShortcut(optionCommandK), std::nullopt);
    EXPECT_TRUE(hotKeys.calls.empty());
    ASSERT_EQ(h.replaceCaptureShortcut(controlCommandJ), std::nullopt);
    hotKeys.calls.clear();
    EXPECT_EQ(h.replaceCaptureShortcut(controlCommandJ), std::nullopt);
    EXPECT_TRUE(hotKeys.calls.empty());
}

TEST_F(CaptureHotKeyTest, AFailedReplacementKeepsTheOldKeyAndRaisesNoStandingError) {
    auto& h = installed();
    hotKeys.takenByOthers.insert({38, ctrl | cmd});
    EXPECT_EQ(h.replaceCaptureShortcut(controlCommandJ), std::string("⌃⌘J") + notRegistered);
    EXPECT_EQ(hotKeys.calls, Calls{"register 38/4352"});
    EXPECT_EQ(hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{40, opt | cmd}}));
    EXPECT_EQ(h.shortcutError(), std::nullopt);
}

TEST_F(CaptureHotKeyTest, TheFailureMessageCarriesTheLabelInTheCurrentLayout) {
    layout = testing::FakeKeyboardLayout::frenchAzerty();
    auto& h = installed();
    hotKeys.takenByOthers.insert({12, opt | cmd});
    EXPECT_EQ(h.replaceCaptureShortcut({12, opt | cmd}), std::string("⌥⌘A") + notRegistered);
}

TEST_F(CaptureHotKeyTest, WithoutAnyKeyAFailureStandsUntilARegistrationSucceeds) {
    auto& h = installed();
    h.unregister();
    hotKeys.takenByOthers.insert({38, ctrl | cmd});
    const auto message = h.replaceCaptureShortcut(controlCommandJ);
    EXPECT_EQ(message, std::string("⌃⌘J") + notRegistered);
    EXPECT_EQ(h.shortcutError(), message);
    EXPECT_EQ(h.replaceCaptureShortcut(optionCommandK), std::nullopt);
    EXPECT_EQ(h.shortcutError(), std::nullopt);
    EXPECT_TRUE(h.registered());
}

TEST_F(CaptureHotKeyTest, OnlyAZeroStatusWithAReferenceIsASuccess) {
    auto& h = installed();
    hotKeys.answersWithoutRef = true;
    EXPECT_EQ(h.replaceCaptureShortcut(controlCommandJ), std::string("⌃⌘J") + notRegistered);
    hotKeys.answersWithoutRef = false;
    hotKeys.answersErrorWithRef = true;
    EXPECT_EQ(h.replaceCaptureShortcut(controlCommandJ), std::string("⌃⌘J") + notRegistered);
    EXPECT_EQ(hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{40, opt | cmd}}));
    EXPECT_EQ(hotKeys.calls, (Calls{"register 38/4352", "register 38/4352"})) << "the old key was never released";
}

TEST_F(CaptureHotKeyTest, APressRequestsACaptureOnTheNextMainQueueTurn) {
    installed();
    EXPECT_TRUE(hotKeys.pressed());
    EXPECT_EQ(captures, 0) << "not inside the event manager's callback";
    queue.runUntilIdle();
    EXPECT_EQ(captures, 1);
}

TEST_F(CaptureHotKeyTest, APressWhileTheRecorderWaitsStartsNoCapture) {
    installed();
    settings.begin(Action::saveAndReturn);
    EXPECT_TRUE(hotKeys.pressed());
    queue.runUntilIdle();
    EXPECT_EQ(captures, 0);

    settings.cancel();
    hotKeys.pressed();
    settings.begin(Action::capture);  // recording by the time the queue turns
    queue.runUntilIdle();
    EXPECT_EQ(captures, 0);
}

TEST_F(CaptureHotKeyTest, APressAfterTheOwnerIsGoneIsNotHandled) {
    installed();
    EXPECT_TRUE(hotKeys.pressed());
    hotKey.reset();
    queue.runUntilIdle();
    EXPECT_EQ(captures, 0) << "the scheduled request died with its owner";
    EXPECT_FALSE(hotKeys.pressed());
    EXPECT_EQ(queue.pendingTasks(), 0u);
}

TEST_F(CaptureHotKeyTest, RecordingReleasesTheKeyAndItsEndRegistersTheCaptureBindingAgain) {
    auto& h = installed();
    EXPECT_EQ(h.recordingChanged(true), std::nullopt);
    EXPECT_EQ(hotKeys.calls, Calls{"unregister 40/2304"});
    EXPECT_FALSE(h.registered());
    EXPECT_EQ(h.recordingChanged(false), std::nullopt);
    EXPECT_EQ(hotKeys.calls, (Calls{"unregister 40/2304", "register 40/2304"}));
    EXPECT_TRUE(h.registered());
}

TEST_F(CaptureHotKeyTest, AFailedRegistrationAfterRecordingGoesToTheSettingsMessage) {
    auto& h = installed();
    h.recordingChanged(true);
    hotKeys.takenByOthers.insert({40, opt | cmd});
    const auto message = h.recordingChanged(false);
    EXPECT_EQ(message, std::string("⌥⌘K") + notRegistered);
    EXPECT_EQ(settings.message(), message);
    EXPECT_EQ(h.shortcutError(), message);
}

TEST_F(CaptureHotKeyTest, RecordingTheCaptureCombinationInTheSettingsRegistersIt) {
    installed();
    wireSettings();
    settings.begin(Action::capture);
    EXPECT_TRUE(hotKeys.live().empty()) << "the combination reaches the recorder";
    hotKeys.pressed();
    queue.runUntilIdle();
    EXPECT_EQ(captures, 0);

    settings.accept({38, event_modifier::control | event_modifier::command, false});
    EXPECT_EQ(settings.bindings().capture, controlCommandJ);
    EXPECT_EQ(settings.recording(), std::nullopt);
    EXPECT_EQ(settings.message(), "変更を保存しました。");
    EXPECT_EQ(hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{38, ctrl | cmd}}));
    EXPECT_EQ(hotKeys.calls, (Calls{"unregister 40/2304", "register 38/4352"})) << "registered once, when applied";
}

TEST_F(CaptureHotKeyTest, ATakenCombinationIsNeverSavedAndTheOldKeyComesBackAfterRecording) {
    installed();
    wireSettings();
    hotKeys.takenByOthers.insert({38, ctrl | cmd});
    settings.begin(Action::capture);
    settings.accept({38, event_modifier::control | event_modifier::command, false});
    EXPECT_EQ(settings.message(), std::string("⌃⌘J") + notRegistered);
    EXPECT_EQ(settings.recording(), Action::capture);
    EXPECT_EQ(settings.bindings().capture, optionCommandK);
    EXPECT_EQ(store.writes, 0);

    settings.cancel();
    EXPECT_EQ(hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{40, opt | cmd}}));
    EXPECT_EQ(hotKey->shortcutError(), std::nullopt);
}

TEST_F(CaptureHotKeyTest, ATakenCombinationOutsideRecordingLeavesTheOldKeyWorking) {
    installed();
    wireSettings();
    hotKeys.takenByOthers.insert({38, ctrl | cmd});
    BriselShortcutBindings candidate;
    candidate.capture = controlCommandJ;
    EXPECT_FALSE(settings.apply(candidate));
    EXPECT_EQ(settings.message(), std::string("⌃⌘J") + notRegistered);
    EXPECT_EQ(hotKeys.live(), (std::vector<FakeHotKeys::Combination>{{40, opt | cmd}}));
    hotKeys.pressed();
    queue.runUntilIdle();
    EXPECT_EQ(captures, 1);
}

TEST_F(CaptureHotKeyTest, ChangingAnotherActionLeavesTheHotKeyAlone) {
    installed();
    wireSettings();
    BriselShortcutBindings candidate;
    candidate.saveAndReturn = {15, cmd};
    EXPECT_TRUE(settings.apply(candidate));
    EXPECT_TRUE(hotKeys.calls.empty());
}

TEST_F(CaptureHotKeyTest, WithoutAHandlerEveryChangeIsRefused) {
    hotKeys.installStatus = -50;
    make().install();
    wireSettings();
    BriselShortcutBindings candidate;
    candidate.saveAndReturn = {15, cmd};
    EXPECT_FALSE(settings.apply(candidate));
    EXPECT_EQ(settings.message(), noHandler);
}

TEST_F(CaptureHotKeyTest, TearDownReleasesTheKeyAndTheHandlerOnce) {
    auto& h = installed();
    h.unregister();
    h.removeHandler();
    h.unregister();
    h.removeHandler();
    EXPECT_EQ(hotKeys.calls, (Calls{"unregister 40/2304", "remove"}));
    EXPECT_FALSE(h.registered());
    EXPECT_FALSE(h.handlerInstalled());
}

}  // namespace
}  // namespace brisel
