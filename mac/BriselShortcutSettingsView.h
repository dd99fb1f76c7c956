#pragma once

#import <AppKit/AppKit.h>

#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/shortcut_settings.h"

// The content of "Briselの設定": core's shortcut settings form, drawn in AppKit and redrawn on
// every change of the settings. Its buttons call the settings; leaving or closing its window
// ends a recording.
@interface BriselShortcutSettingsView : NSView

- (instancetype)initWithLayout:(const brisel::KeyboardLayoutPort&)layout NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;

// Draws `settings` from now on.
- (void)observe:(brisel::BriselShortcutSettings&)settings;

@end
