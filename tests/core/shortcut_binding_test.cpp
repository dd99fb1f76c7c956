#include "shortcuts/key_binding.h"

#include <gtest/gtest.h>

#include "core/shortcut_fakes.h"
#include "shortcuts/shortcut_bindings.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {
namespace {

using Action = BriselShortcutAction;
using testing::FakeKeyboardLayout;
namespace texts = shortcut_texts;

constexpr uint32_t cmd = BriselKeyBinding::command, shift = BriselKeyBinding::shift, opt = BriselKeyBinding::option,
                   ctrl = BriselKeyBinding::control;
constexpr uint32_t K = 40, Q = 12, Return = 36, Space = 49, Esc = 53;

std::optional<std::string> message(const char* text) { return text ? std::optional<std::string>(text) : std::nullopt; }

TEST(KeyBinding, LabelAndPageValueFollowTheLayoutWhileTheCodeStaysThePhysicalKey) {
    const FakeKeyboardLayout us = FakeKeyboardLayout::us();
    FakeKeyboardLayout odd;  // AZERTY's A on Q and é on 2, and what no layout can change
    odd.typed = {{Q, u"a"}, {19, u"é"}, {Return, u"x"}, {Space, u"y"}, {Esc, u"z"}, {38, u"xy"}, {37, u"L"}};
    const struct { const FakeKeyboardLayout& layout; BriselKeyBinding binding; const char *code, *key, *label, *why; } rows[] = {
        {us, {0, ctrl | opt | shift | cmd}, "KeyA", "a", "⌃⌥⇧⌘A", "control, option, shift, command, then the key"},
        {odd, {Q, opt | cmd}, "KeyQ", "a", "⌥⌘A", "the layout names the key"},
        {odd, {19, cmd}, "Digit2", "é", "⌘É", "upper case beyond ASCII"},
        {odd, {Return, cmd}, "Enter", "Enter", "⌘Enter", "Return ignores the layout"},
        {odd, {Esc, 0}, "Escape", "Escape", "Esc", "Escape ignores the layout"},
        {odd, {38, cmd}, "KeyJ", "j", "⌘J", "two typed units fall back to the table"},
        {odd, {15, cmd}, "KeyR", "r", "⌘R", "no translation falls back to the table"},
        {odd, {37, cmd}, "KeyL", "l", "⌘L", "one typed unit, lowered"},
    };
    for (const auto& row : rows) {
        const uint32_t modifiers = row.binding.modifiers;
        EXPECT_EQ(row.binding.webValue(row.layout),
                  (nlohmann::json{{"code", row.code}, {"key", row.key}, {"label", row.label}, {"meta", (modifiers & cmd) != 0},
                                  {"alt", (modifiers & opt) != 0}, {"ctrl", (modifiers & ctrl) != 0}, {"shift", (modifiers & shift) != 0}}))
            << row.why;
    }
    EXPECT_EQ(BriselKeyBinding({Esc, 0}).key(us), "\x1b");
    EXPECT_EQ(BriselShortcutBindings{}.webValue(us)["saveAndReturn"]["label"], "⌘Enter");
}

TEST(ShortcutValidation, EachRuleInItsOrder) {
    const struct { Action action; BriselKeyBinding binding; const char *expected, *why; } rows[] = {
        {Action::returnToReading, {Esc, 0}, nullptr, "Esc alone returns to reading"},
        {Action::returnToReading, {10, 0}, texts::keyOutsideTable, "the table comes before the Esc rule"},
        {Action::returnToReading, {Esc, 0x0400}, texts::keyOutsideTable, "a foreign modifier bit, even on Esc"},
        {Action::returnToReading, {Esc, shift}, texts::needsCommandOrControl, "Esc with a modifier"},
        {Action::saveAndReturn, {Esc, 0}, texts::needsCommandOrControl, "Esc only returns to reading"},
        {Action::returnToReading, {K, shift}, texts::needsCommandOrControl, "⇧K types text"},
        {Action::capture, {K, opt | shift}, texts::needsCommandOrControl, "two modifiers, neither ⌘ nor ⌃"},
        {Action::returnToReading, {Return, ctrl}, nullptr, "⌃ alone is enough to return"},
        {Action::capture, {K, ctrl}, texts::captureNeedsSecondModifier, "capture needs a second modifier"},
        {Action::capture, {K, ctrl | opt}, nullptr, "⌃⌥ is two"},
        {Action::saveAndReturn, {K, cmd}, nullptr, "only capture needs two"},
        {Action::capture, {8, opt | cmd}, nullptr, "editing keys are reserved with ⌘ alone"},
        {Action::saveAndReturn, {8, cmd}, texts::reservedByMac, "⌘C copies"},
        {Action::saveAndReturn, {Space, cmd}, texts::reservedByMac, "⌘Space is Spotlight, before the Space rule"},
        {Action::saveAndReturn, {23, shift | cmd}, texts::reservedByMac, "⇧⌘5 takes screenshots"},
        {Action::saveAndReturn, {22, shift | cmd}, nullptr, "⇧⌘6 is free"},
        {Action::capture, {Space, ctrl | opt}, texts::reservedForInputSwitching, "Space with other modifiers"},
        {Action::saveAndReturn, {Q, ctrl | cmd}, texts::reservedForScreenLock, "⌃⌘Q locks the screen"},
        {Action::saveAndReturn, {K, ctrl | cmd}, nullptr, "⌃⌘ with another key"},
        {Action::saveAndReturn, {Q, ctrl | opt | cmd}, nullptr, "only exactly ⌃⌘"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.binding.error(row.action), message(row.expected)) << row.why;
}

TEST(ShortcutValidation, TheWholeSetChecksEachBindingFirstThenDuplicates) {
    const BriselKeyBinding captureKey{K, opt | cmd}, saveKey{Return, cmd}, esc{Esc, 0};
    const struct { BriselShortcutBindings bindings; const char *expected, *why; } rows[] = {
        {{captureKey, saveKey, esc}, nullptr, "the defaults"},
        {{saveKey, saveKey, esc}, texts::captureNeedsSecondModifier, "own error before the duplicate"},
        {{captureKey, {8, cmd}, {K, 0}}, texts::reservedByMac, "save is checked before return"},
        {{captureKey, saveKey, captureKey}, texts::duplicateBinding, "capture and return"},
        {{captureKey, {K, cmd}, {K, cmd}}, texts::duplicateBinding, "save and return"},
        {{captureKey, {K, cmd}, {K, ctrl}}, nullptr, "one key under other modifiers"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.bindings.error(), message(row.expected)) << row.why;
}

}  // namespace
}  // namespace brisel
