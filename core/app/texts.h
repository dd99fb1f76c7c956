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
    "以前のBrisel、または別のサービスが動いています。Briselをすべて終了して開き直してください。"
    "改善しない場合はポート47831を確認してください。";
inline constexpr const char* diagnosticsUnavailable =
    "Brisel startup diagnostics could not be opened.\n";

inline constexpr const char* panelTitle = "Brisel";
inline constexpr const char* settingsWindowTitle = "Briselの設定";

}  // namespace brisel::texts
