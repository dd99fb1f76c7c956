#pragma once

#import <AppKit/AppKit.h>

// The floating reader panel. A panel normally refuses key and main status; this one takes
// them so the page's text fields get the keyboard. NSWindow's designated initializer is
// inherited unchanged.
@interface ReaderPanel : NSPanel
@end
