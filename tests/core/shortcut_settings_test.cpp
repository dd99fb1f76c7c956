#include "shortcuts/shortcut_settings.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/shortcut_fakes.h"

namespace brisel {
namespace {

using Action = BriselShortcutAction;
using testing::FakeKeyValueStore;

constexpr uint32_t cmd = BriselKeyBinding::command;
constexpr uint32_t opt = BriselKeyBinding::option;
constexpr uint32_t ctrl = BriselKeyBinding::control;
constexpr uint64_t commandFlag = event_modifier::command;
constexpr uint64_t optionFlag = event_modifier::option;
constexpr uint64_t controlFlag = event_modifier::control;

const char* const key = "brisel.keyboardShortcuts.v1";
const char* const savedMessage = "変更を保存しました。";
const char* const duplicateMessage = "ほかの操作と同じ組み合わせです。別のキーを選んでください。";
const char* const captureNeedsTwo =
    "取り込みには、⌘または⌃に⌥・⇧などを加えてください。ほかのアプリの操作と重なりにくくできます。";

BriselKeyEvent keyDown(uint32_t keyCode, uint64_t flags = 0) { return {keyCode, flags, false}; }
BriselKeyEvent repeat(uint32_t keyCode, uint64_t flags = 0) { return {keyCode, flags, true}; }

const char* const customJSON =
    R"({"capture":{"keyCode":38,"modifiers":4352},"saveAndReturn":{"keyCode":15,"modifiers":256},"returnToReading":{"keyCode":53,"modifiers":0}})";

BriselShortcutBindings custom() {
    BriselShortcutBindings bindings;
    bindings.capture = {38, ctrl | cmd};
    bindings.saveAndReturn = {15, cmd};
    return bindings;
}

// The settings over a fake store, with every callback and observer recorded in order.
class ShortcutSettingsTest : public ::testing::Test {
protected:
    BriselShortcutSettings& make() {
        settings = std::make_unique<BriselShortcutSettings>(store);
        settings->onChange = [this] { calls.push_back("change"); };
        settings->onRecordingChange = [this](bool on) { calls.push_back(on ? "recording:on" : "recording:off"); };
        return *settings;
    }

    std::optional<BriselShortcutBindings> storedBindings() const {
        const auto bytes = store.get(key);
        if (!bytes) return std::nullopt;
        return decodeShortcutBindings(*bytes);
    }

    FakeKeyValueStore store;
    std::unique_ptr<BriselShortcutSettings> settings;
    std::vector<std::string> calls;
};

TEST_F(ShortcutSettingsTest, StartsWithTheDefaultsWhenNothingIsStored) {
    auto& s = make();
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
    EXPECT_EQ(s.recording(), std::nullopt);
    EXPECT_EQ(s.message(), "");
    EXPECT_EQ(store.writes, 0);
    EXPECT_STREQ(BriselShortcutSettings::storageKey, key);
}

TEST_F(ShortcutSettingsTest, LoadsAValidStoredSet) {
    store.values[key] = customJSON;
    EXPECT_EQ(make().bindings(), custom());
}

TEST_F(ShortcutSettingsTest, AnyBadStoredValueGivesTheWholeDefaultSetAndStaysInTheStore) {
    const std::vector<std::string> bad{
        // capture ⌘K: the other two are fine but are not kept either
        R"({"capture":{"keyCode":40,"modifiers":256},"saveAndReturn":{"keyCode":15,"modifiers":256},"returnToReading":{"keyCode":36,"modifiers":4096}})",
        // two of three actions
        R"({"capture":{"keyCode":38,"modifiers":4352},"saveAndReturn":{"keyCode":15,"modifiers":256}})",
        // a duplicate
        R"({"capture":{"keyCode":38,"modifiers":4352},"saveAndReturn":{"keyCode":38,"modifiers":4352},"returnToReading":{"keyCode":53,"modifiers":0}})",
        R"({"capture":{"keyCode":38,"modifiers":4352.0},"saveAndReturn":{"keyCode":15,"modifiers":256},"returnToReading":{"keyCode":53,"modifiers":0}})",
        "not json",
        "",
        "[]",
    };
    for (const auto& value : bad) {
        store.values[key] = value;
        auto& s = make();
        EXPECT_EQ(s.bindings(), BriselShortcutBindings{}) << value;
        EXPECT_EQ(s.message(), "") << value;
        EXPECT_EQ(store.values[key], value) << "nothing is written back";
    }
    EXPECT_EQ(store.writes, 0);
}

TEST_F(ShortcutSettingsTest, ABadStoredValueIsReplacedByTheNextSuccessfulApply) {
    store.values[key] = "not json";
    auto& s = make();
    s.onApply = [](const BriselShortcutBindings&) -> std::optional<std::string> { return "vetoed"; };
    EXPECT_FALSE(s.apply(custom()));
    EXPECT_EQ(store.values[key], "not json");
    s.onApply = nullptr;
    EXPECT_TRUE(s.apply(custom()));
    EXPECT_EQ(storedBindings(), custom());
}

TEST_F(ShortcutSettingsTest, ApplyStoresThenPublishesThenTellsTheOwner) {
    auto& s = make();
    std::optional<BriselShortcutBindings> offered;
    s.onApply = [&](const BriselShortcutBindings& candidate) -> std::optional<std::string> {
        offered = candidate;
        EXPECT_EQ(s.bindings(), BriselShortcutBindings{}) << "not yet published";
        EXPECT_EQ(store.writes, 0) << "not yet stored";
        return std::nullopt;
    };
    s.onChange = [&] {
        EXPECT_EQ(s.bindings(), custom());
        EXPECT_EQ(s.message(), savedMessage);
        EXPECT_EQ(storedBindings(), custom());
        calls.push_back("change");
    };
    EXPECT_TRUE(s.apply(custom()));
    EXPECT_EQ(offered, custom());
    EXPECT_EQ(calls, std::vector<std::string>{"change"});
    EXPECT_EQ(s.message(), savedMessage);
}

TEST_F(ShortcutSettingsTest, ARefusedSetChangesNothingButTheMessage) {
    auto& s = make();
    bool asked = false;
    s.onApply = [&](const BriselShortcutBindings&) -> std::optional<std::string> {
        asked = true;
        return std::nullopt;
    };
    BriselShortcutBindings candidate;
    candidate.capture = {40, cmd};
    EXPECT_FALSE(s.apply(candidate));
    EXPECT_EQ(s.message(), captureNeedsTwo);
    EXPECT_FALSE(asked) << "the owner sees only valid sets";
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
    EXPECT_EQ(store.writes, 0);
    EXPECT_TRUE(calls.empty());
}

TEST_F(ShortcutSettingsTest, TheOwnersVetoKeepsBindingsAndStore) {
    auto& s = make();
    s.onApply = [](const BriselShortcutBindings&) -> std::optional<std::string> { return "⌃⌘Jを登録できませんでした。"; };
    EXPECT_FALSE(s.apply(custom()));
    EXPECT_EQ(s.message(), "⌃⌘Jを登録できませんでした。");
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
    EXPECT_EQ(store.writes, 0);
    EXPECT_TRUE(calls.empty());
}

TEST_F(ShortcutSettingsTest, AFailedWriteIsReportedAndNothingIsPublished) {
    auto& s = make();
    store.writesFail = true;
    EXPECT_FALSE(s.apply(custom()));
    EXPECT_EQ(s.message(), "設定を保存できませんでした。");
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
    EXPECT_TRUE(calls.empty());
}

TEST_F(ShortcutSettingsTest, BeginClearsTheMessageAndSwitchingRowsSaysRecordingAgain) {
    auto& s = make();
    s.setMessage("old line");
    s.begin(Action::capture);
    EXPECT_EQ(s.message(), "");
    EXPECT_EQ(s.recording(), Action::capture);
    s.accept(keyDown(40, commandFlag));
    EXPECT_EQ(s.message(), captureNeedsTwo);
    s.begin(Action::saveAndReturn);
    EXPECT_EQ(s.recording(), Action::saveAndReturn);
    EXPECT_EQ(s.message(), "");
    EXPECT_EQ(calls, (std::vector<std::string>{"recording:on", "recording:on"})) << "no false turn for the replaced row";
}

TEST_F(ShortcutSettingsTest, ARecordedKeyIsAppliedAndEndsRecording) {
    auto& s = make();
    s.begin(Action::capture);
    s.accept(keyDown(38, controlFlag | commandFlag | (1u << 16)));
    EXPECT_EQ(s.bindings().capture, BriselKeyBinding({38, ctrl | cmd})) << "Caps Lock dropped";
    EXPECT_EQ(s.bindings().saveAndReturn, BriselShortcutBindings{}.saveAndReturn);
    EXPECT_EQ(s.recording(), std::nullopt);
    EXPECT_EQ(s.message(), savedMessage);
    EXPECT_EQ(calls, (std::vector<std::string>{"recording:on", "change", "recording:off"}));
    EXPECT_EQ(storedBindings(), s.bindings());
}

TEST_F(ShortcutSettingsTest, ARejectedKeyStaysRecordingWithItsMessage) {
    auto& s = make();
    s.begin(Action::returnToReading);
    s.accept(keyDown(36, commandFlag));
    EXPECT_EQ(s.message(), duplicateMessage) << "⌘Enter is the save binding";
    EXPECT_EQ(s.recording(), Action::returnToReading);
    s.accept(keyDown(40));
    EXPECT_EQ(s.message(), "⌘または⌃を含めてください。文字入力と重ならない組み合わせにできます。");
    EXPECT_EQ(s.recording(), Action::returnToReading);
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
    EXPECT_EQ(store.writes, 0);
    EXPECT_EQ(calls, std::vector<std::string>{"recording:on"});

    s.accept(keyDown(15, commandFlag));
    EXPECT_EQ(s.bindings().returnToReading, BriselKeyBinding({15, cmd})) << "another try is taken";
    EXPECT_EQ(s.recording(), std::nullopt);
}

TEST_F(ShortcutSettingsTest, AVetoedKeyStaysRecordingWithTheOwnersMessage) {
    auto& s = make();
    s.onApply = [](const BriselShortcutBindings&) -> std::optional<std::string> { return "taken"; };
    s.begin(Action::capture);
    s.accept(keyDown(38, controlFlag | commandFlag));
    EXPECT_EQ(s.message(), "taken");
    EXPECT_EQ(s.recording(), Action::capture);
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
}

TEST_F(ShortcutSettingsTest, EscapeAndTabCancelWithoutTouchingTheMessage) {
    auto& s = make();
    for (const auto event : {keyDown(53), keyDown(48), keyDown(48, event_modifier::shift), keyDown(53, commandFlag)}) {
        calls.clear();
        s.begin(Action::saveAndReturn);
        s.accept(keyDown(0, commandFlag));  // ⌘A: refused, leaves a message
        const std::string message = s.message();
        ASSERT_NE(message, "");
        s.accept(event);
        EXPECT_EQ(s.recording(), std::nullopt) << event.keyCode;
        EXPECT_EQ(s.message(), message);
        EXPECT_EQ(calls, (std::vector<std::string>{"recording:on", "recording:off"}));
    }
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
    EXPECT_EQ(store.writes, 0);
}

TEST_F(ShortcutSettingsTest, AutoRepeatAndKeysWhileIdleAreIgnored) {
    auto& s = make();
    s.accept(keyDown(38, controlFlag | commandFlag));
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
    EXPECT_TRUE(calls.empty());

    s.begin(Action::saveAndReturn);
    s.accept(repeat(15, commandFlag));
    s.accept(repeat(53));
    EXPECT_EQ(s.recording(), Action::saveAndReturn) << "not even a repeated Escape cancels";
    EXPECT_EQ(store.writes, 0);
    s.accept(keyDown(15, commandFlag));
    s.accept(repeat(15, commandFlag));
    EXPECT_EQ(s.bindings().saveAndReturn, BriselKeyBinding({15, cmd}));
    EXPECT_EQ(store.writes, 1);
}

TEST_F(ShortcutSettingsTest, CancelWhileIdleSaysNothing) {
    auto& s = make();
    s.cancel();
    EXPECT_TRUE(calls.empty());
    s.begin(Action::capture);
    s.cancel();
    s.cancel();
    EXPECT_EQ(calls, (std::vector<std::string>{"recording:on", "recording:off"}));
}

TEST_F(ShortcutSettingsTest, AnOwnerThatEndsRecordingInOnChangeIsToldOnce) {
    auto& s = make();
    s.onChange = [&] {
        calls.push_back("change");
        s.cancel();
    };
    s.begin(Action::saveAndReturn);
    s.accept(keyDown(15, commandFlag));
    EXPECT_EQ(calls, (std::vector<std::string>{"recording:on", "change", "recording:off"}));
}

TEST_F(ShortcutSettingsTest, RestoreWithNothingChangedStillStoresAndSaysSo) {
    auto& s = make();
    s.restore();
    EXPECT_EQ(store.writes, 1);
    EXPECT_EQ(storedBindings(), BriselShortcutBindings{});
    EXPECT_EQ(s.message(), savedMessage);
    EXPECT_EQ(calls, std::vector<std::string>{"change"});
}

TEST_F(ShortcutSettingsTest, RestoreEndsRecordingOnlyWhenItTookEffect) {
    store.values[key] = customJSON;
    auto& s = make();
    s.onApply = [](const BriselShortcutBindings&) -> std::optional<std::string> { return "vetoed"; };
    s.begin(Action::capture);
    s.restore();
    EXPECT_EQ(s.message(), "vetoed");
    EXPECT_EQ(s.recording(), Action::capture);
    EXPECT_EQ(s.bindings(), custom());

    s.onApply = nullptr;
    s.restore();
    EXPECT_EQ(s.bindings(), BriselShortcutBindings{});
    EXPECT_EQ(s.recording(), std::nullopt);
    EXPECT_EQ(calls, (std::vector<std::string>{"recording:on", "change", "recording:off"}));
}

TEST_F(ShortcutSettingsTest, ObserversHearEveryPublishedChangeUntilRemoved) {
    auto& s = make();
    int heard = 0;
    const auto observer = s.addObserver([&] { ++heard; });
    s.begin(Action::saveAndReturn);
    EXPECT_GE(heard, 1);
    heard = 0;
    s.accept(keyDown(15, commandFlag));
    EXPECT_GE(heard, 2) << "the new bindings and the end of recording";
    heard = 0;
    s.setMessage("⌥⌘Kを登録できませんでした。");
    EXPECT_EQ(heard, 1);
    s.removeObserver(observer);
    s.setMessage("");
    s.begin(Action::capture);
    EXPECT_EQ(heard, 1);
}

TEST_F(ShortcutSettingsTest, AnObserverMayRemoveItselfWhileBeingTold) {
    auto& s = make();
    int heard = 0;
    BriselShortcutSettings::ObserverID self = 0;
    self = s.addObserver([&] {
        ++heard;
        s.removeObserver(self);
    });
    s.setMessage("a");
    s.setMessage("b");
    EXPECT_EQ(heard, 1);
}

}  // namespace
}  // namespace brisel
