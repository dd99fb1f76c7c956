#pragma once

#include <string>
#include <vector>

namespace brisel {

// What a menu item does; the shell binds each to its platform's action.
enum class MenuAction {
    openCompanion,
    openSettings,
    quit,
    copy,
    paste,
    selectAll,
    minimize,
    separator,
};

struct MenuItem {
    std::string title;
    MenuAction action;
    std::string key;  // key equivalent, always with Command (Control on Linux); empty for none
};

struct Menu {
    std::string title;  // empty for the application menu
    bool isWindowsMenu = false;
    std::vector<MenuItem> items;
};

// The main menu. There is no Cut or Undo: the edit menu exists so that copy, paste and
// select-all reach the web view.
const std::vector<Menu>& mainMenu();

}  // namespace brisel
