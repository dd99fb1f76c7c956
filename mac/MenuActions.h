#pragma once

#import <Foundation/Foundation.h>

// The product's own menu actions, sent to the application delegate. An action the delegate
// does not implement leaves its item disabled: AppKit's menu validation checks the target.
@protocol MenuActions <NSObject>
@optional
- (IBAction)openCompanion:(id)sender;
- (IBAction)openSettings:(id)sender;
@end
