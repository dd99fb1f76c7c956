#include <array>
#include <string>

#include <gtest/gtest.h>

#include "shortcuts/shortcut_bindings.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {
namespace {

using Action = BriselShortcutAction;
namespace texts = shortcut_texts;

constexpr uint32_t cmd = BriselKeyBinding::command;
constexpr uint32_t shift = BriselKeyBinding::shift;
constexpr uint32_t opt = BriselKeyBinding::option;
constexpr uint32_t ctrl = BriselKeyBinding::control;
constexpr uint32_t K = 40, C = 8, Q = 12, R = 15, S = 1, Z = 6, Return = 36, Space = 49, Esc = 53;

const char* const M1 = "英数字またはEnterと修飾キーの組み合わせを使ってください。";
const char* const M2 = "⌘または⌃を含めてください。文字入力と重ならない組み合わせにできます。";
const char* const M3 = "取り込みには、⌘または⌃に⌥・⇧などを加えてください。ほかのアプリの操作と重なりにくくできます。";
const char* const M4 = "Macの標準操作に使う組み合わせです。別のキーを選んでください。";
const char* const M5 = "入力切り替えなどに使う組み合わせです。別のキーを選んでください。";
const char* const M6 = "Macの画面ロックに使う組み合わせです。別のキーを選んでください。";
const char* const M7 = "ほかの操作と同じ組み合わせです。別のキーを選んでください。";

std::string verdict(Action action, uint32_t keyCode, uint32_t modifiers) {
    return BriselKeyBinding{keyCode, modifiers}.error(action).value_or("ok");
}

TEST(ShortcutValidation, TheMessagesAreTheProductsSentences) {
    EXPECT_STREQ(texts::keyOutsideTable, M1);
    EXPECT_STREQ(texts::needsCommandOrControl, M2);
    EXPECT_STREQ(texts::captureNeedsSecondModifier, M3);
    EXPECT_STREQ(texts::reservedByMac, M4);
    EXPECT_STREQ(texts::reservedForInputSwitching, M5);
    EXPECT_STREQ(texts::reservedForScreenLock, M6);
    EXPECT_STREQ(texts::duplicateBinding, M7);
}

TEST(ShortcutValidation, TheDefaultsPass) {
    EXPECT_EQ(verdict(Action::capture, K, opt | cmd), "ok");
    EXPECT_EQ(verdict(Action::saveAndReturn, Return, cmd), "ok");
    EXPECT_EQ(verdict(Action::returnToReading, Esc, 0), "ok");
    EXPECT_EQ(BriselShortcutBindings{}.error(), std::nullopt);
}

TEST(ShortcutValidation, KeysOutsideTheTableAndForeignModifierBitsComeFirst) {
    EXPECT_EQ(verdict(Action::capture, 96, opt | cmd), M1) << "F5";
    EXPECT_EQ(verdict(Action::capture, 123, ctrl | cmd), M1) << "left arrow";
    EXPECT_EQ(verdict(Action::saveAndReturn, 10, cmd), M1) << "ISO section key";
    EXPECT_EQ(verdict(Action::saveAndReturn, 48, cmd), M1) << "Tab";
    EXPECT_EQ(verdict(Action::returnToReading, 10, 0), M1) << "before the Esc and ⌘/⌃ rules";
    EXPECT_EQ(verdict(Action::capture, K, opt | cmd | 0x0400), M1) << "Caps Lock";
    EXPECT_EQ(verdict(Action::capture, K, opt | cmd | 0x0001), M1);
    EXPECT_EQ(verdict(Action::capture, K, opt | cmd | (1u << 23)), M1) << "Function";
    EXPECT_EQ(verdict(Action::returnToReading, Esc, 0x0400), M1) << "even on the one binding without modifiers";
}

TEST(ShortcutValidation, EscapeIsOnlyForReturningToReadingAndOnlyAlone) {
    EXPECT_EQ(verdict(Action::returnToReading, Esc, shift), M2);
    EXPECT_EQ(verdict(Action::returnToReading, Esc, cmd), M2);
    EXPECT_EQ(verdict(Action::saveAndReturn, Esc, 0), M2);
    EXPECT_EQ(verdict(Action::saveAndReturn, Esc, cmd), M2);
    EXPECT_EQ(verdict(Action::capture, Esc, cmd), M2) << "before the second-modifier rule";
    EXPECT_EQ(verdict(Action::capture, Esc, opt | cmd), M2);
}

TEST(ShortcutValidation, EveryActionNeedsCommandOrControl) {
    EXPECT_EQ(verdict(Action::returnToReading, K, 0), M2);
    EXPECT_EQ(verdict(Action::returnToReading, K, shift), M2);
    EXPECT_EQ(verdict(Action::returnToReading, K, opt | shift), M2);
    EXPECT_EQ(verdict(Action::saveAndReturn, Return, 0), M2);
    EXPECT_EQ(verdict(Action::capture, K, opt | shift), M2) << "two modifiers, neither ⌘ nor ⌃";
    EXPECT_EQ(verdict(Action::returnToReading, K, cmd), "ok");
    EXPECT_EQ(verdict(Action::returnToReading, Return, ctrl), "ok");
}

TEST(ShortcutValidation, TheCaptureKeyNeedsASecondModifier) {
    EXPECT_EQ(verdict(Action::capture, K, cmd), M3);
    EXPECT_EQ(verdict(Action::capture, K, ctrl), M3);
    EXPECT_EQ(verdict(Action::capture, Return, cmd), M3);
    EXPECT_EQ(verdict(Action::capture, K, ctrl | opt), "ok");
    EXPECT_EQ(verdict(Action::capture, K, ctrl | shift), "ok");
    EXPECT_EQ(verdict(Action::capture, K, ctrl | opt | cmd), "ok");
    EXPECT_EQ(verdict(Action::saveAndReturn, K, cmd), "ok") << "only capture needs two";
    EXPECT_EQ(verdict(Action::capture, C, opt | cmd), "ok") << "the editing keys are reserved with ⌘ alone";
}

TEST(ShortcutValidation, CommandAloneIsReservedForTheStandardEditingKeysAndSpotlight) {
    const std::array<uint32_t, 24> reserved{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 17, 29, 31, 32, 34, 35, 37, 45, 46, 49};
    const std::array<uint32_t, 14> unreserved{R, 16, 38, K, 18, 19, 20, 21, 23, 22, 26, 28, 25, Return};
    for (const uint32_t key : reserved) {
        EXPECT_EQ(verdict(Action::saveAndReturn, key, cmd), M4) << key;
        EXPECT_EQ(verdict(Action::returnToReading, key, cmd), M4) << key;
    }
    for (const uint32_t key : unreserved) EXPECT_EQ(verdict(Action::saveAndReturn, key, cmd), "ok") << key;
    EXPECT_EQ(verdict(Action::saveAndReturn, C, ctrl), "ok") << "only ⌘ alone";
}

TEST(ShortcutValidation, SpaceWithAnythingButCommandAloneIsInputSwitching) {
    EXPECT_EQ(verdict(Action::saveAndReturn, Space, cmd), M4) << "the ⌘ rule comes first";
    EXPECT_EQ(verdict(Action::saveAndReturn, Space, ctrl), M5);
    EXPECT_EQ(verdict(Action::capture, Space, opt | cmd), M5);
    EXPECT_EQ(verdict(Action::capture, Space, ctrl | opt), M5);
    EXPECT_EQ(verdict(Action::saveAndReturn, Space, ctrl | cmd), M5) << "before the screen-lock rule";
    EXPECT_EQ(verdict(Action::returnToReading, Space, shift | cmd), M5);
}

TEST(ShortcutValidation, ControlCommandIsFreeExceptTheScreenLock) {
    EXPECT_EQ(verdict(Action::saveAndReturn, Q, ctrl | cmd), M6);
    EXPECT_EQ(verdict(Action::capture, Q, ctrl | cmd), M6);
    EXPECT_EQ(verdict(Action::saveAndReturn, K, ctrl | cmd), "ok");
    EXPECT_EQ(verdict(Action::saveAndReturn, C, ctrl | cmd), "ok");
    EXPECT_EQ(verdict(Action::saveAndReturn, Q, ctrl | opt | cmd), "ok") << "exactly ⌃⌘";
}

TEST(ShortcutValidation, ShiftCommandStopsAtTheScreenshotKeys) {
    for (const uint32_t key : {S, Z, 18u, 19u, 20u, 21u, 23u}) {
        EXPECT_EQ(verdict(Action::saveAndReturn, key, shift | cmd), M4) << key;
        EXPECT_EQ(verdict(Action::capture, key, shift | cmd), M4) << key;
    }
    EXPECT_EQ(verdict(Action::saveAndReturn, 22, shift | cmd), "ok") << "⇧⌘6";
    EXPECT_EQ(verdict(Action::saveAndReturn, K, shift | cmd), "ok");
    EXPECT_EQ(verdict(Action::saveAndReturn, R, shift | cmd), "ok");
    EXPECT_EQ(verdict(Action::saveAndReturn, S, shift | opt | cmd), "ok") << "exactly ⇧⌘";
}

TEST(ShortcutSetValidation, TheFirstBindingsOwnErrorWinsBeforeDuplicates) {
    BriselShortcutBindings both;
    both.capture = {Return, cmd};
    EXPECT_EQ(both.error(), M3) << "⌘Enter for capture is refused before the duplicate is noticed";

    BriselShortcutBindings laterErrors;
    laterErrors.saveAndReturn = {C, cmd};
    laterErrors.returnToReading = {K, 0};
    EXPECT_EQ(laterErrors.error(), M4) << "saveAndReturn is checked before returnToReading";

    BriselShortcutBindings lastOnly;
    lastOnly.returnToReading = {K, opt | cmd};
    EXPECT_EQ(lastOnly.error(), M7) << "each passes its own check, then the duplicate shows";
}

TEST(ShortcutSetValidation, AnyTwoEqualBindingsAreADuplicate) {
    BriselShortcutBindings captureAndSave;
    captureAndSave.capture = {Return, opt | cmd};
    captureAndSave.saveAndReturn = {Return, opt | cmd};
    EXPECT_EQ(captureAndSave.error(), M7);

    BriselShortcutBindings saveAndReturnToReading;
    saveAndReturnToReading.saveAndReturn = {K, cmd};
    saveAndReturnToReading.returnToReading = {K, cmd};
    EXPECT_EQ(saveAndReturnToReading.error(), M7);

    BriselShortcutBindings sameKeyOtherModifiers;
    sameKeyOtherModifiers.saveAndReturn = {K, cmd};
    sameKeyOtherModifiers.returnToReading = {K, ctrl};
    EXPECT_EQ(sameKeyOtherModifiers.error(), std::nullopt);
}

}  // namespace
}  // namespace brisel
