#include "app/main_menu.h"

namespace brisel {

const std::vector<Menu>& mainMenu() {
    static const std::vector<Menu> menu = {
        {"",
         false,
         {{"Briselを表示", MenuAction::openCompanion, "0"},
          {"設定…", MenuAction::openSettings, ","},
          {"", MenuAction::separator, ""},
          {"Briselを終了", MenuAction::quit, "q"}}},
        {"編集",
         false,
         {{"コピー", MenuAction::copy, "c"},
          {"ペースト", MenuAction::paste, "v"},
          {"すべてを選択", MenuAction::selectAll, "a"}}},
        {"ウインドウ", true, {{"最小化", MenuAction::minimize, "m"}}},
    };
    return menu;
}

}  // namespace brisel
