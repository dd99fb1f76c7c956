#pragma once

#include <vector>

#include "app/main_menu.h"

namespace brisel {

// This application as the desktop sees it.
class ApplicationPort {
public:
    virtual ~ApplicationPort() = default;
    virtual void installMainMenu(const std::vector<Menu>& menus) = 0;
    virtual void activateIgnoringOtherApps() = 0;
    virtual bool isActive() const = 0;
    virtual bool isHidden() const = 0;
    virtual void terminate() = 0;  // ends the event loop; the shell then calls applicationWillTerminate
};

}  // namespace brisel
