#pragma once

#import <AppKit/AppKit.h>
#import <WebKit/WebKit.h>

#import "MenuActions.h"
#include "app/companion.h"

// The application delegate. It owns core's brisel::Companion and the ports it runs on, and
// forwards every AppKit and WebKit callback to it; every decision is core's.
@interface Companion
    : NSObject <NSApplicationDelegate, NSWindowDelegate, WKNavigationDelegate, WKScriptMessageHandler, MenuActions>

// Opens the start-up log, so the log covers the run from before the event loop starts.
- (instancetype)initWithSettings:(const brisel::CompanionSettings&)settings NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;

@end
