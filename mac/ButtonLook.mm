#include "ButtonLook.h"

#include "reading/reading_controls_presentation.h"

namespace brisel::mac {

namespace {

// NSBezelStyleGlass and NSTintProminencePrimary / Automatic of the macOS 26 SDK, by value.
constexpr NSBezelStyle glassBezelStyle = static_cast<NSBezelStyle>(16);
constexpr NSInteger primaryTintProminence = 2;
constexpr NSInteger automaticTintProminence = 0;

void setTintProminence(NSButton* button, NSInteger prominence) {
    if ([button respondsToSelector:NSSelectorFromString(@"setTintProminence:")]) {
        [button setValue:@(prominence) forKey:@"tintProminence"];
    }
}

}  // namespace

bool usesGlass(bool forceOpaque) {
    const NSOperatingSystemVersion version = NSProcessInfo.processInfo.operatingSystemVersion;
    const bool reduceTransparency = NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceTransparency;
    return readingControlsUseGlass(static_cast<int>(version.majorVersion), reduceTransparency, forceOpaque) &&
           NSClassFromString(@"NSGlassEffectView") != nil;
}

void applyButtonLook(NSButton* button, bool glass, NSBezelStyle borderedStyle, NSColor* prominentTint) {
    button.bordered = YES;
    button.bezelStyle = glass ? glassBezelStyle : borderedStyle;
    button.bezelColor = prominentTint;
    setTintProminence(button, glass && prominentTint ? primaryTintProminence : automaticTintProminence);
}

::id observeDisplayOptions(void (^changed)(void)) {
    return [NSWorkspace.sharedWorkspace.notificationCenter
        addObserverForName:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
                    object:nil
                     queue:NSOperationQueue.mainQueue
                usingBlock:^(NSNotification*) {
                  changed();
                }];
}

void stopObservingDisplayOptions(::id token) {
    if (token) [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:token];
}

}  // namespace brisel::mac
