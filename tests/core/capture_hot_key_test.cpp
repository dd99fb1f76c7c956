#include "capture/hot_key_manager.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "core/shortcut_fakes.h"
#include "fakes/virtual_main_queue.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {
namespace {

using Calls = std::vector<std::string>;
using Keys = std::vector<testing::FakeHotKeys::Combination>;

constexpr uint32_t optionCommand = BriselKeyBinding::option | BriselKeyBinding::command;
constexpr uint32_t controlCommand = BriselKeyBinding::control | BriselKeyBinding::command;
const BriselKeyBinding optionCommandK{40, optionCommand};
const BriselKeyBinding controlCommandJ{38, controlCommand};
const std::string jTaken = "⌃⌘Jを登録できませんでした。ほかのアプリやMacの設定との重複をご確認ください。";
const std::string kTaken = "⌥⌘Kを登録できませんでした。ほかのアプリやMacの設定との重複をご確認ください。";

// The hot key installed at launch, with the settings' hooks wired as the companion wires them.
struct Launched {
    explicit Launched(std::function<void(testing::FakeHotKeys&)> before = [](auto&) {}) {
        before(hotKeys);
        hotKey->install();
        settings.onApply = [this](const BriselShortcutBindings& bindings) { return hotKey->replaceCaptureShortcut(bindings.capture); };
        settings.onRecordingChange = [this](bool isRecording) { hotKey->recordingChanged(isRecording); };
    }
    int capturesAfterAPress() {
        hotKeys.pressed();
        queue.runUntilIdle();
        return captures;
    }

    testing::VirtualMainQueue queue;
    testing::FakeHotKeys hotKeys;
    testing::FakeKeyValueStore store;
    testing::FakeKeyboardLayout layout = testing::FakeKeyboardLayout::us();
    BriselShortcutSettings settings{store};
    int captures = 0;
    std::unique_ptr<CaptureHotKey> hotKey =
        std::make_unique<CaptureHotKey>(hotKeys, queue, layout, settings, [this] { ++captures; });
};

TEST(CaptureHotKey, LaunchRegistersTheCaptureKeyOrSaysWhyNot) {
    Launched fine;
    EXPECT_EQ(fine.hotKeys.calls, (Calls{"install", "register 40/2304"}));
    Launched taken([](auto& hotKeys) { hotKeys.takenByOthers.insert({40, optionCommand}); });
    EXPECT_EQ(taken.settings.message(), kTaken);
    EXPECT_EQ(taken.hotKey->shortcutError(), kTaken);
    Launched noHandler([](auto& hotKeys) { hotKeys.installStatus = -50; });
    EXPECT_EQ(noHandler.hotKey->shortcutError(), shortcut_texts::hotKeyHandlerNotInstalled);
    EXPECT_EQ(noHandler.hotKey->replaceCaptureShortcut(controlCommandJ), shortcut_texts::hotKeyHandlerMissing);
    EXPECT_EQ(noHandler.hotKeys.calls, Calls{"install"});
}

// The new key is registered before the old one goes; a failure leaves the old one working.
TEST(CaptureHotKey, ReplacingTheKeyNeverLeavesTheUserWithoutOne) {
    const Keys oldKey{{40, optionCommand}};
    // The binding asked for, then the message, the calls, the keys registered afterwards.
    using Row = std::tuple<const char*, BriselKeyBinding, std::optional<std::string>, Calls, Keys, void (*)(Launched&)>;
    for (const auto& [why, binding, message, calls, live, knob] : std::vector<Row>{
             {"a free key", controlCommandJ, std::nullopt, {"register 38/4352", "unregister 40/2304"}, {{38, controlCommand}},
              [](auto&) {}},
             {"the same key", optionCommandK, std::nullopt, {}, oldKey, [](auto&) {}},
             {"no reference", controlCommandJ, jTaken, {"register 38/4352"}, oldKey, [](auto& l) { l.hotKeys.answersWithoutRef = true; }},
             {"an error", controlCommandJ, jTaken, {"register 38/4352"}, oldKey, [](auto& l) { l.hotKeys.answersErrorWithRef = true; }}}) {
        Launched l;
        l.hotKeys.calls.clear();
        knob(l);
        EXPECT_EQ(l.hotKey->replaceCaptureShortcut(binding), message) << why;
        EXPECT_EQ(l.hotKeys.calls, calls) << why;
        EXPECT_EQ(l.hotKeys.live(), live) << why;
        EXPECT_EQ(l.hotKey->shortcutError(), std::nullopt) << why << ": a key still works";
    }
}

TEST(CaptureHotKey, APressCapturesOnTheNextTurnUnlessTheRecorderWaits) {
    Launched l;
    EXPECT_TRUE(l.hotKeys.pressed());
    EXPECT_EQ(l.captures, 0) << "not inside the event manager's callback";
    l.queue.runUntilIdle();
    EXPECT_EQ(l.captures, 1);
    l.hotKeys.pressed();
    l.settings.begin(BriselShortcutAction::saveAndReturn);  // recording by the time the queue turns
    EXPECT_EQ(l.capturesAfterAPress(), 1);
    l.settings.cancel();
    l.hotKeys.pressed();
    l.hotKey.reset();
    l.queue.runUntilIdle();
    EXPECT_EQ(l.captures, 1) << "the request died with its owner";
    EXPECT_FALSE(l.hotKeys.pressed());
}

// While the capture key is recorded it is released, so the recorder gets ⌃⌘J; afterwards a key is
// registered again, and when none can be, the error stands until one is.
TEST(CaptureHotKey, RecordingTheCaptureKey) {
    const Calls recorded{"unregister 40/2304", "register 38/4352"};
    const Calls reregistered{"unregister 40/2304", "register 38/4352", "register 40/2304"};
    // Keys other programs take while recording, then the message, the calls, the keys registered.
    for (const auto& [why, taken, message, calls, live] : std::vector<std::tuple<const char*, Keys, std::string, Calls, Keys>>{
             {"a free key", {}, "変更を保存しました。", recorded, {{38, controlCommand}}},
             {"a taken key, the old one back", {{38, controlCommand}}, jTaken, reregistered, {{40, optionCommand}}},
             {"both taken", {{38, controlCommand}, {40, optionCommand}}, kTaken, reregistered, {}}}) {
        Launched l;
        l.hotKeys.calls.clear();
        l.settings.begin(BriselShortcutAction::capture);
        EXPECT_EQ(l.hotKeys.live(), Keys{}) << why;
        l.hotKeys.takenByOthers.insert(taken.begin(), taken.end());
        l.settings.accept({38, event_modifier::control | event_modifier::command, false});
        l.settings.cancel();
        EXPECT_EQ(l.settings.message(), message) << why;
        EXPECT_EQ(l.hotKeys.calls, calls) << why;
        EXPECT_EQ(l.hotKeys.live(), live) << why;
        EXPECT_EQ(l.hotKey->shortcutError(), live.empty() ? std::optional(message) : std::nullopt) << why;
        EXPECT_EQ(l.capturesAfterAPress(), 1) << why << ": no longer recording";
        l.hotKeys.takenByOthers.clear();
        EXPECT_EQ(l.hotKey->replaceCaptureShortcut(optionCommandK), std::nullopt) << why;
        EXPECT_EQ(l.hotKey->shortcutError(), std::nullopt) << why;
    }
}

}  // namespace
}  // namespace brisel
