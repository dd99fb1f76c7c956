#pragma once

#import <AppKit/AppKit.h>

#include "reading/reading_controls_model.h"

// The key of `briselReadingControlsForceOpaque`, for setting and observing it by key-value
// coding.
extern NSString* const BriselReadingControlsForceOpaqueKey;

// The reading-controls strip under the web view. It draws core's presentation of the model and
// hands its buttons, and their key equivalents, back to the model, which decides. It becomes
// the model's change listener and must not outlive it.
@interface BriselReadingControlsView : NSView

// Lets the host force the opaque look (bordered buttons) where the system would offer glass.
// NO by default.
@property(nonatomic) BOOL briselReadingControlsForceOpaque;

- (instancetype)initWithModel:(brisel::BriselReadingControlsModel&)model NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;

@end
