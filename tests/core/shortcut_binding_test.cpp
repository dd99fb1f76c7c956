#include "shortcuts/key_binding.h"

#include <set>
#include <unordered_set>

#include <gtest/gtest.h>

#include "core/shortcut_fakes.h"
#include "shortcuts/physical_keys.h"
#include "shortcuts/shortcut_bindings.h"

namespace brisel {
namespace {

using testing::FakeKeyboardLayout;
using Action = BriselShortcutAction;

constexpr uint32_t cmd = BriselKeyBinding::command;
constexpr uint32_t shift = BriselKeyBinding::shift;
constexpr uint32_t opt = BriselKeyBinding::option;
constexpr uint32_t ctrl = BriselKeyBinding::control;

const FakeKeyboardLayout us = FakeKeyboardLayout::us();
const FakeKeyboardLayout azerty = FakeKeyboardLayout::frenchAzerty();

TEST(ShortcutAction, ThreeActionsInFormOrderWithTheirRawValuesAndTexts) {
    ASSERT_EQ(allShortcutActions.size(), 3u);
    EXPECT_EQ(actionName(allShortcutActions[0]), "capture");
    EXPECT_EQ(actionName(allShortcutActions[1]), "saveAndReturn");
    EXPECT_EQ(actionName(allShortcutActions[2]), "returnToReading");
    EXPECT_EQ(title(Action::capture), "Kindleの選択文を取り込む");
    EXPECT_EQ(help(Action::capture), "ほかのアプリからも使えます");
    EXPECT_EQ(title(Action::saveAndReturn), "ナレッジに保存して読書に戻る");
    EXPECT_EQ(help(Action::saveAndReturn), "Briselの補足画面で使えます");
    EXPECT_EQ(title(Action::returnToReading), "読書に戻る");
    EXPECT_EQ(help(Action::returnToReading), "入力欄・ダイアログ以外で使えます");
}

TEST(ShortcutAction, IsMadeOnlyFromAnExactRawValue) {
    for (const auto action : allShortcutActions) EXPECT_EQ(shortcutAction(actionName(action)), action);
    EXPECT_EQ(shortcutAction("Capture"), std::nullopt);
    EXPECT_EQ(shortcutAction("capture "), std::nullopt);
    EXPECT_EQ(shortcutAction(""), std::nullopt);
}

TEST(PhysicalKeys, HoldsExactlyTheLettersDigitsReturnSpaceAndEscape) {
    std::set<uint32_t> codes;
    std::set<std::string_view> names;
    for (const auto& entry : physicalKeys) {
        codes.insert(entry.keyCode);
        names.insert(entry.code);
    }
    EXPECT_EQ(codes.size(), 39u);
    EXPECT_EQ(names.size(), 39u);
    int bindable = 0;
    for (uint32_t keyCode = 0; keyCode < 256; ++keyCode) bindable += physicalKey(keyCode) != nullptr;
    EXPECT_EQ(bindable, 39);
    for (const uint32_t notInTable : {10u, 24u, 27u, 30u, 33u, 39u, 41u, 42u, 43u, 44u, 47u, 48u, 50u, 96u, 123u}) {
        EXPECT_EQ(physicalKey(notInTable), nullptr) << notInTable;
    }
}

TEST(PhysicalKeys, DigitKeyCodesAreNotInDigitOrder) {
    EXPECT_EQ(BriselKeyBinding({22, 0}).code(), "Digit6");
    EXPECT_EQ(BriselKeyBinding({23, 0}).code(), "Digit5");
    EXPECT_EQ(BriselKeyBinding({29, 0}).code(), "Digit0");
    EXPECT_EQ(BriselKeyBinding({40, 0}).code(), "KeyK");
    EXPECT_EQ(BriselKeyBinding({36, 0}).code(), "Enter");
    EXPECT_EQ(BriselKeyBinding({49, 0}).code(), "Space");
    EXPECT_EQ(BriselKeyBinding({53, 0}).code(), "Escape");
    EXPECT_EQ(BriselKeyBinding({10, cmd}).code(), "");
}

TEST(KeyBinding, EqualOnlyWhenKeyAndModifiersBothMatch) {
    EXPECT_EQ(BriselKeyBinding({40, cmd | opt}), BriselKeyBinding({40, opt | cmd}));
    EXPECT_NE(BriselKeyBinding({40, cmd}), BriselKeyBinding({40, cmd | opt}));
    EXPECT_NE(BriselKeyBinding({40, cmd}), BriselKeyBinding({38, cmd}));
}

TEST(KeyBinding, HashesEqualBindingsEquallyAndKeepsOthersApartInASet) {
    const std::hash<BriselKeyBinding> hash;
    EXPECT_EQ(hash({40, cmd | opt}), hash({40, opt | cmd}));
    EXPECT_NE(hash({40, cmd}), hash({40, cmd | opt})) << "the modifiers count";
    EXPECT_NE(hash({40, cmd}), hash({38, cmd})) << "the key code counts";
    const std::unordered_set<BriselKeyBinding> set{{40, cmd}, {40, cmd | opt}, {38, cmd}, {40, cmd}};
    EXPECT_EQ(set.size(), 3u);
}

TEST(KeyBinding, FromAnEventKeepsOnlyTheFourModifiers) {
    const uint64_t capsLock = 1u << 16;
    const uint64_t numericPad = 1u << 21;
    const uint64_t function = 1u << 23;
    const auto commandK = BriselKeyBinding::fromEvent({40, event_modifier::command | capsLock, false});
    EXPECT_EQ(commandK, BriselKeyBinding({40, cmd}));

    const auto all = BriselKeyBinding::fromEvent(
        {36, event_modifier::command | event_modifier::shift | event_modifier::option | event_modifier::control |
                 numericPad | function | 0xFFFF,
         false});
    EXPECT_EQ(all, BriselKeyBinding({36, cmd | shift | opt | ctrl}));
    EXPECT_EQ(BriselKeyBinding::fromEvent({122, event_modifier::option, false}), BriselKeyBinding({122, opt}))
        << "the key code is taken as is, even outside the table";
}

TEST(KeyBindingLabel, ModifiersInControlOptionShiftCommandOrderThenTheKey) {
    EXPECT_EQ(BriselKeyBinding({40, cmd | opt}).label(us), "⌥⌘K");
    EXPECT_EQ(BriselKeyBinding({36, cmd}).label(us), "⌘Enter");
    EXPECT_EQ(BriselKeyBinding({53, 0}).label(us), "Esc");
    EXPECT_EQ(BriselKeyBinding({49, ctrl | shift}).label(us), "⌃⇧Space");
    EXPECT_EQ(BriselKeyBinding({0, cmd | shift | opt | ctrl}).label(us), "⌃⌥⇧⌘A");
    EXPECT_EQ(BriselKeyBinding({22, cmd}).label(us), "⌘6");
    EXPECT_EQ(BriselKeyBinding({23, cmd}).label(us), "⌘5");
}

TEST(KeyBindingLabel, FollowsTheLayoutWhileTheCodeStaysThePhysicalKey) {
    const BriselKeyBinding q{12, cmd | opt};
    EXPECT_EQ(q.code(), "KeyQ");
    EXPECT_EQ(q.key(azerty), "a");
    EXPECT_EQ(q.label(azerty), "⌥⌘A");
    EXPECT_EQ(q.key(us), "q");
    EXPECT_EQ(BriselKeyBinding({19, cmd}).key(azerty), "é");
    EXPECT_EQ(BriselKeyBinding({19, cmd}).label(azerty), "⌘É");
    EXPECT_EQ(BriselKeyBinding({46, cmd}).label(azerty), "⌘,");
    EXPECT_EQ(BriselKeyBinding({36, cmd}).label(azerty), "⌘Enter");
}

TEST(KeyBindingLabel, ReturnSpaceAndEscapeIgnoreTheLayout) {
    FakeKeyboardLayout odd;
    odd.typed = {{36, u"x"}, {49, u"y"}, {53, u"z"}};
    EXPECT_EQ(BriselKeyBinding({36, 0}).key(odd), "\r");
    EXPECT_EQ(BriselKeyBinding({49, 0}).key(odd), " ");
    EXPECT_EQ(BriselKeyBinding({53, 0}).key(odd), "\x1b");
    EXPECT_EQ(BriselKeyBinding({49, ctrl}).label(odd), "⌃Space");
}

TEST(KeyBindingLabel, FallsBackToTheTableUnlessTheLayoutTypesExactlyOneUnit) {
    FakeKeyboardLayout layout;
    layout.typed = {{40, u""}, {38, u"xy"}, {37, u"L"}};
    EXPECT_EQ(BriselKeyBinding({40, cmd}).key(layout), "k") << "no translation";
    EXPECT_EQ(BriselKeyBinding({38, cmd}).key(layout), "j") << "two units";
    EXPECT_EQ(BriselKeyBinding({37, cmd}).key(layout), "l") << "one unit, lowered";
    EXPECT_EQ(BriselKeyBinding({15, cmd}).label(layout), "⌘R") << "key missing from the layout";
}

TEST(KeyBindingLabel, AKeyOutsideTheTableHasOnlyWhatTheLayoutGives) {
    EXPECT_EQ(BriselKeyBinding({10, cmd}).key(us), "§");
    EXPECT_EQ(BriselKeyBinding({10, cmd}).label(us), "⌘§");
    const FakeKeyboardLayout none;
    EXPECT_EQ(BriselKeyBinding({10, cmd}).key(none), "");
    EXPECT_EQ(BriselKeyBinding({10, cmd | opt}).label(none), "⌥⌘");
}

TEST(KeyBindingWebValue, SevenEntriesInThePagesKeyboardVocabulary) {
    EXPECT_EQ(BriselKeyBinding({40, cmd | opt}).webValue(us),
              (nlohmann::json{{"code", "KeyK"}, {"key", "k"}, {"label", "⌥⌘K"}, {"meta", true}, {"alt", true},
                              {"ctrl", false}, {"shift", false}}));
    EXPECT_EQ(BriselKeyBinding({36, cmd}).webValue(us)["key"], "Enter");
    EXPECT_EQ(BriselKeyBinding({53, 0}).webValue(us)["key"], "Escape");
    EXPECT_EQ(BriselKeyBinding({53, 0}).webValue(us)["label"], "Esc");
    const auto space = BriselKeyBinding({49, ctrl | shift}).webValue(us);
    EXPECT_EQ(space["key"], " ");
    EXPECT_EQ(space["code"], "Space");
    EXPECT_TRUE(space["ctrl"].is_boolean() && space["ctrl"].get<bool>());
    EXPECT_TRUE(space["shift"].get<bool>());
    EXPECT_FALSE(space["meta"].get<bool>());
    EXPECT_EQ(BriselKeyBinding({12, cmd | opt}).webValue(azerty)["key"], "a");
    EXPECT_EQ(BriselKeyBinding({12, cmd | opt}).webValue(azerty)["code"], "KeyQ");
}

TEST(KeyBindingWebValue, TheSetIsKeyedByAction) {
    const auto value = BriselShortcutBindings{}.webValue(us);
    ASSERT_EQ(value.size(), 3u);
    EXPECT_EQ(value["capture"]["label"], "⌥⌘K");
    EXPECT_EQ(value["saveAndReturn"]["label"], "⌘Enter");
    EXPECT_EQ(value["returnToReading"]["label"], "Esc");
    for (const auto& [name, binding] : value.items()) EXPECT_EQ(binding.size(), 7u) << name;
}

TEST(KeyBinding, ToolkitModifiersMirrorTheCarbonBits) {
    EXPECT_EQ(BriselKeyBinding({36, cmd}).toolkitModifiers(), (ToolkitModifiers{true, false, false, false}));
    EXPECT_EQ(BriselKeyBinding({53, 0}).toolkitModifiers(), ToolkitModifiers{});
    EXPECT_EQ(BriselKeyBinding({0, shift | ctrl}).toolkitModifiers(), (ToolkitModifiers{false, true, false, true}));
    EXPECT_EQ(BriselKeyBinding({0, opt | 0x0400}).toolkitModifiers(), (ToolkitModifiers{false, false, true, false}));
}

TEST(ShortcutBindings, DefaultsAndSubscriptByAction) {
    BriselShortcutBindings bindings;
    EXPECT_EQ(bindings[Action::capture], BriselKeyBinding({40, 0x0900}));
    EXPECT_EQ(bindings[Action::saveAndReturn], BriselKeyBinding({36, 0x0100}));
    EXPECT_EQ(bindings[Action::returnToReading], BriselKeyBinding({53, 0}));
    bindings[Action::saveAndReturn] = {15, cmd};
    EXPECT_EQ(bindings.saveAndReturn, BriselKeyBinding({15, cmd}));
    EXPECT_EQ(bindings.capture, BriselShortcutBindings{}.capture);
    EXPECT_NE(bindings, BriselShortcutBindings{});
}

}  // namespace
}  // namespace brisel
