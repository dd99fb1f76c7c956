#pragma once

// Every sentence the user reads, each written once.
namespace brisel::texts {

inline constexpr const char* startingUp = "Briselを起動しています…";
inline constexpr const char* serverFilesMissing =
    "起動に必要なNodeまたはサーバーファイルが見つかりません。ビルドし直してください。";
inline constexpr const char* serverLaunchFailed =
    "補足サーバーを起動できませんでした。Briselを再起動してください。";
inline constexpr const char* serverUnreachable =
    "補足サーバーに接続できません。Briselを終了して、もう一度開いてください。";
inline constexpr const char* portHeldByOther =
    "以前のBrisel、または別のサービスが動いています。Briselをすべて終了して開き直してください。改善しない場合はポート47831を確認してください。";
inline constexpr const char* diagnosticsUnavailable =
    "Brisel startup diagnostics could not be opened.\n";

inline constexpr const char* panelTitle = "Brisel";
inline constexpr const char* settingsWindowTitle = "Briselの設定";

// The reading-controls strip.
inline constexpr const char* savingToKnowledge = "ナレッジに保存中…";
inline constexpr const char* saveToKnowledgeAndReturn = "ナレッジに保存して読書に戻る";
inline constexpr const char* saveToKnowledgeShort = "ナレッジに保存";
inline constexpr const char* returnWithoutSaving = "保存せず読書に戻る";
inline constexpr const char* closeWithoutSaving = "保存せず閉じる";
inline constexpr const char* returnToReading = "読書に戻る";
inline constexpr const char* close = "閉じる";
inline constexpr const char* saveContinuesWhenClosed = "保存処理中です。閉じても保存は続きます。";
inline constexpr const char* noteBeingWritten = "補足を作成中です。まだ保存されません。";
inline constexpr const char* savedNotesInDictionary = "保存したナレッジは「辞書」で見返せます。";

}  // namespace brisel::texts
