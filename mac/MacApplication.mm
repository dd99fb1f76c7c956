#include "MacApplication.h"

#include "Conversions.h"

namespace brisel::mac {

namespace {

SEL selectorOf(MenuAction action) {
    switch (action) {
    case MenuAction::openCompanion: return @selector(openCompanion:);
    case MenuAction::openSettings: return @selector(openSettings:);
    case MenuAction::quit: return @selector(terminate:);
    case MenuAction::copy: return @selector(copy:);
    case MenuAction::paste: return @selector(paste:);
    case MenuAction::selectAll: return @selector(selectAll:);
    case MenuAction::minimize: return @selector(performMiniaturize:);
    case MenuAction::separator: return nullptr;
    }
    return nullptr;
}

bool isCompanionAction(MenuAction action) {
    return action == MenuAction::openCompanion || action == MenuAction::openSettings;
}

}  // namespace

NSMenuItem* MacApplication::menuItem(const MenuItem& item) const {
    if (item.action == MenuAction::separator) return [NSMenuItem separatorItem];
    NSMenuItem* menuItem = [[NSMenuItem alloc] initWithTitle:nsString(item.title)
                                                      action:selectorOf(item.action)
                                               keyEquivalent:nsString(item.key)];
    menuItem.keyEquivalentModifierMask = NSEventModifierFlagCommand;
    // The standard actions travel the responder chain, so copy and paste reach the web view.
    if (isCompanionAction(item.action)) menuItem.target = menuTarget_;
    return menuItem;
}

void MacApplication::installMainMenu(const std::vector<Menu>& menus) {
    NSApplication* application = NSApplication.sharedApplication;
    NSMenu* mainMenu = [[NSMenu alloc] initWithTitle:@""];
    for (const Menu& menu : menus) {
        NSMenu* submenu = [[NSMenu alloc] initWithTitle:nsString(menu.title)];
        for (const MenuItem& item : menu.items) [submenu addItem:menuItem(item)];
        NSMenuItem* holder = [[NSMenuItem alloc] initWithTitle:nsString(menu.title) action:nil keyEquivalent:@""];
        holder.submenu = submenu;
        [mainMenu addItem:holder];
        if (menu.isWindowsMenu) application.windowsMenu = submenu;
    }
    application.mainMenu = mainMenu;
}

void MacApplication::activateIgnoringOtherApps() {
    [NSApplication.sharedApplication activateIgnoringOtherApps:YES];
}

bool MacApplication::isActive() const {
    return NSApplication.sharedApplication.active;
}

bool MacApplication::isHidden() const {
    return NSApplication.sharedApplication.hidden;
}

// AppKit asks the delegate's applicationWillTerminate: on the way out, which tears down in core.
void MacApplication::terminate() {
    [NSApplication.sharedApplication terminate:nil];
}

}  // namespace brisel::mac
