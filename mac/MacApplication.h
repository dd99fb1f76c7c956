#pragma once

#import <AppKit/AppKit.h>

#import "MenuActions.h"
#include "platform/application_port.h"

namespace brisel::mac {

// NSApp as core sees it: the main menu built from core's menu model, activation, state.
class MacApplication final : public ApplicationPort {
public:
    explicit MacApplication(id<MenuActions> menuTarget) : menuTarget_(menuTarget) {}

    void installMainMenu(const std::vector<Menu>& menus) override;
    void activateIgnoringOtherApps() override;
    bool isActive() const override;
    bool isHidden() const override;
    void terminate() override;

private:
    NSMenuItem* menuItem(const MenuItem& item) const;

    __weak id<MenuActions> menuTarget_;
};

}  // namespace brisel::mac
