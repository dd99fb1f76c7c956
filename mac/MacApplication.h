#pragma once

#import <AppKit/AppKit.h>

#import "MenuActions.h"
#include "platform/application_port.h"

// Named outside namespace brisel, where core's `id` function hides Objective-C's `id`.
using MenuTarget = id<MenuActions>;

namespace brisel::mac {

// NSApp as core sees it: the main menu built from core's menu model, activation, state.
class MacApplication final : public ApplicationPort {
public:
    explicit MacApplication(MenuTarget menuTarget) : menuTarget_(menuTarget) {}

    void installMainMenu(const std::vector<Menu>& menus) override;
    void activateIgnoringOtherApps() override;
    bool isActive() const override;
    bool isHidden() const override;
    void terminate() override;

private:
    NSMenuItem* menuItem(const MenuItem& item) const;

    __weak MenuTarget menuTarget_;
};

}  // namespace brisel::mac
