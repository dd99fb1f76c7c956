#pragma once

#import <AppKit/AppKit.h>

namespace brisel::mac {

// Whether buttons take the glass look now: core's rule over the system's major version, the
// reduce-transparency setting and the host's `forceOpaque`. Glass arrived in macOS 26, after
// this SDK, so the runtime is also asked for AppKit's glass view class.
bool usesGlass(bool forceOpaque = false);

// Glass, or bordered with `borderedStyle`; a `prominentTint` marks the default action.
void applyButtonLook(NSButton* button, bool glass, NSBezelStyle borderedStyle, NSColor* prominentTint = nil);

// Runs `changed` whenever the accessibility display options (reduce transparency) change; the
// returned token goes to `stopObservingDisplayOptions`.
::id observeDisplayOptions(void (^changed)(void));
void stopObservingDisplayOptions(::id token);

}  // namespace brisel::mac
