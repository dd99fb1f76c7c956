#import "WeakScriptMessageHandler.h"

@implementation WeakScriptMessageHandler {
    __weak id<WKScriptMessageHandler> _receiver;
}

- (instancetype)initWithReceiver:(id<WKScriptMessageHandler>)receiver {
    self = [super init];
    if (self) _receiver = receiver;
    return self;
}

- (void)userContentController:(WKUserContentController*)userContentController
      didReceiveScriptMessage:(WKScriptMessage*)message {
    [_receiver userContentController:userContentController didReceiveScriptMessage:message];
}

@end
