#pragma once

// Every sentence the user reads about a capture, each written once.
namespace brisel::capture_texts {

// Asking for a capture, and the hand-off to Kindle.
inline constexpr const char* selectInKindle =
    "Kindleで文章を選択してから⌥⌘Kを押してください。Kindle以外の文章は取得しません。";
inline constexpr const char* openKindle = "Kindleを開き、文章を選択して⌥⌘Kを押してください。";
inline constexpr const char* kindleNotBroughtForward =
    "Kindleを前面に切り替えられませんでした。Kindleで文章を選択して⌥⌘Kを押してください。";
inline constexpr const char* pageNotReady = "Briselの準備中です。画面が開いてからもう一度お試しください。";
inline constexpr const char* allowAccessibility =
    "Kindleの選択文を受け取るには、システム設定の「アクセシビリティ」でBriselを許可してください。";
inline constexpr const char* returnNotPossible =
    "Kindleを前面に切り替えられませんでした。DockなどからKindleを開いて読書に戻ってください。";

// Finding and pressing Kindle's Copy.
inline constexpr const char* switchedDuringSearch =
    "画面が切り替わったため取得を止めました。Kindleに戻り、もう一度お試しください。";
inline constexpr const char* copyUnavailable =
    "Kindleの「コピー」が利用できません。コピー可能な短い語句を選んでお試しください。コピー制限のある本文は取り込みません。";
inline constexpr const char* copyUnavailableChooseAgain =
    "Kindleの「コピー」が利用できません。Kindleでコピー可能な短い語句を選び直してください。";
inline constexpr const char* clipboardCannotBeKept =
    "現在のクリップボードを保持できないため取得を止めました。クリップボードを使い終えてから再度お試しください。";
inline constexpr const char* changedBeforeCopy =
    "画面またはクリップボードが変更されたため取得を止めました。Kindleでお試しください。";
inline constexpr const char* copyNotConfirmed =
    "Kindleのコピー操作を確認できませんでした。コピー可能な短い語句を選んでお試しください。";

// Waiting for Kindle's copy.
inline constexpr const char* switchedDuringCopy = "画面が切り替わったため取得を止めました。Kindleでお試しください。";
inline constexpr const char* copyUnverified =
    "Kindleのコピー結果を確認できないため取得を止めました。現在のクリップボードはそのまま残します。";
inline constexpr const char* noCopyReceived =
    "Kindleからコピー結果を受け取れませんでした。コピー制限のある本文は取り込みません。コピー可能な短い語句を選び直してください。";
inline constexpr const char* changedAfterCopy =
    "画面またはクリップボードが変更されたため取得を止めました。もう一度お試しください。";
inline constexpr const char* unconfirmedCopyRefused =
    "Kindleのコピー操作を確認できなかったため取り込みませんでした。コピー可能な短い語句を選んでお試しください。";
inline constexpr const char* passageTooLong =
    "選択した文章が長すぎます。調べたい用語か、240文字以内の短い一文を選んでください。";

}  // namespace brisel::capture_texts
