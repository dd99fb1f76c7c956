#pragma once

// Every sentence of the keyboard shortcuts and the capture hot key, each written once.
namespace brisel::shortcut_texts {

// Action titles and the scope note under each.
inline constexpr const char* captureTitle = "Kindleの選択文を取り込む";
inline constexpr const char* captureHelp = "ほかのアプリからも使えます";
inline constexpr const char* saveAndReturnTitle = "ナレッジに保存して読書に戻る";
inline constexpr const char* saveAndReturnHelp = "Briselの補足画面で使えます";
inline constexpr const char* returnToReadingTitle = "読書に戻る";
inline constexpr const char* returnToReadingHelp = "入力欄・ダイアログ以外で使えます";

// Why a binding is refused, in the order the rules are tried.
inline constexpr const char* keyOutsideTable = "英数字またはEnterと修飾キーの組み合わせを使ってください。";
inline constexpr const char* needsCommandOrControl =
    "⌘または⌃を含めてください。文字入力と重ならない組み合わせにできます。";
inline constexpr const char* captureNeedsSecondModifier =
    "取り込みには、⌘または⌃に⌥・⇧などを加えてください。ほかのアプリの操作と重なりにくくできます。";
inline constexpr const char* reservedByMac = "Macの標準操作に使う組み合わせです。別のキーを選んでください。";
inline constexpr const char* reservedForInputSwitching = "入力切り替えなどに使う組み合わせです。別のキーを選んでください。";
inline constexpr const char* reservedForScreenLock = "Macの画面ロックに使う組み合わせです。別のキーを選んでください。";
inline constexpr const char* duplicateBinding = "ほかの操作と同じ組み合わせです。別のキーを選んでください。";

// The settings store's status line.
inline constexpr const char* saved = "変更を保存しました。";
inline constexpr const char* saveFailed = "設定を保存できませんでした。";

// The capture hot key.
inline constexpr const char* hotKeyHandlerNotInstalled = "ショートカットを登録できませんでした。Briselのボタンから取得できます。";
inline constexpr const char* hotKeyHandlerMissing = "ショートカットを登録できません。Briselを開き直してください。";
// Follows the binding's label directly, e.g. "⌥⌘K" + this.
inline constexpr const char* hotKeyNotRegisteredAfterLabel =
    "を登録できませんでした。ほかのアプリやMacの設定との重複をご確認ください。";

// The settings form.
inline constexpr const char* sectionTitle = "ショートカット";
inline constexpr const char* pressKeys = "キーを押してください…";
inline constexpr const char* keyButtonTooltip = "クリックして変更。Escでキャンセル。";
inline constexpr const char* keyButtonAccessibilitySuffix = "のショートカット";
inline constexpr const char* waitingForKeys = "キー入力を待っています";
inline constexpr const char* explanation =
    "キーの表示をクリックして、新しい組み合わせを押してください。Escで入力をキャンセルできます。変更はこのMacに保存されます。";
inline constexpr const char* cancelRecording = "入力をキャンセル";
inline constexpr const char* restoreDefaults = "標準に戻す";

}  // namespace brisel::shortcut_texts
