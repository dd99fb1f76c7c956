#pragma once

#import <WebKit/WebKit.h>

// Passes the page's script messages on to `receiver` without owning it: the user content
// controller keeps its handlers alive, and the receiver owns the web view that holds it.
@interface WeakScriptMessageHandler : NSObject <WKScriptMessageHandler>
- (instancetype)initWithReceiver:(id<WKScriptMessageHandler>)receiver NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;
@end
