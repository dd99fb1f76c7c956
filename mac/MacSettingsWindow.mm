#include "MacSettingsWindow.h"

#include "Conversions.h"
#import "BriselShortcutSettingsView.h"
#include "app/texts.h"

namespace brisel::mac {

MacSettingsWindow::~MacSettingsWindow() {
    remove();
}

void MacSettingsWindow::show(BriselShortcutSettings& settings) {
    if (!window_) {
        window_ = [[NSWindow alloc]
            initWithContentRect:NSMakeRect(0, 0, 640, 430)
                      styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskMiniaturizable
                        backing:NSBackingStoreBuffered
                          defer:NO];
        window_.title = nsString(texts::settingsWindowTitle);
        window_.level = NSFloatingWindowLevel;
        window_.releasedWhenClosed = NO;
        view_ = [[BriselShortcutSettingsView alloc] initWithLayout:layout_];
        window_.contentView = view_;
        [window_ center];
    }
    [view_ observe:settings];
    [window_ deminiaturize:nil];
    [window_ makeKeyAndOrderFront:nil];
}

void MacSettingsWindow::install(KeyDown keyDown) {
    remove();
    keyDown_ = std::move(keyDown);
    monitor_ = [NSEvent addLocalMonitorForEventsMatchingMask:NSEventMaskKeyDown
                                                     handler:^NSEvent*(NSEvent* event) {
                                                       return offer(event) ? nil : event;
                                                     }];
}

bool MacSettingsWindow::offer(NSEvent* event) {
    const BriselKeyEvent key{event.keyCode, event.modifierFlags & NSEventModifierFlagDeviceIndependentFlagsMask,
                             static_cast<bool>(event.ARepeat)};
    // A copy: the handler may end the recording, which removes this monitor.
    const KeyDown keyDown = keyDown_;
    return keyDown && keyDown(key, event.window == window_);
}

void MacSettingsWindow::remove() {
    if (monitor_) [NSEvent removeMonitor:monitor_];
    monitor_ = nil;
    keyDown_ = nullptr;
}

}  // namespace brisel::mac
