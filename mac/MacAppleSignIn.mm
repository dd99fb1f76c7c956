#include "MacAppleSignIn.h"

#include "Conversions.h"
#include "MacPanel.h"

// Hands one controller's delegate calls to core, on the main thread, and names the window the
// sheet goes over.
@interface AppleSignInDelegate
    : NSObject <ASAuthorizationControllerDelegate, ASAuthorizationControllerPresentationContextProviding>
- (instancetype)initWithAnchor:(NSWindow*)anchor
                    completion:(std::function<void(brisel::AppleSignInOutcome)>)completion NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;
@end

@implementation AppleSignInDelegate {
    NSWindow* _anchor;
    std::function<void(brisel::AppleSignInOutcome)> _completion;
}

- (instancetype)initWithAnchor:(NSWindow*)anchor
                    completion:(std::function<void(brisel::AppleSignInOutcome)>)completion {
    self = [super init];
    if (!self) return nil;
    _anchor = anchor;
    _completion = std::move(completion);
    return self;
}

- (void)deliver:(brisel::AppleSignInOutcome)outcome {
    if (NSThread.isMainThread) {
        _completion(std::move(outcome));
        return;
    }
    const auto completion = _completion;
    dispatch_async(dispatch_get_main_queue(), ^{
      completion(outcome);
    });
}

- (void)authorizationController:(ASAuthorizationController*)controller
    didCompleteWithAuthorization:(ASAuthorization*)authorization {
    brisel::AppleAuthorization result;
    if ([authorization.credential isKindOfClass:ASAuthorizationAppleIDCredential.class]) {
        ASAuthorizationAppleIDCredential* credential = (ASAuthorizationAppleIDCredential*)authorization.credential;
        result.isAppleIDCredential = true;
        result.state = brisel::mac::optionalString(credential.state);
        if (NSData* token = credential.identityToken) {
            result.identityToken = std::string(static_cast<const char*>(token.bytes), token.length);
        }
    }
    [self deliver:result];
}

- (void)authorizationController:(ASAuthorizationController*)controller didCompleteWithError:(NSError*)error {
    [self deliver:brisel::SignInError{brisel::mac::stdString(error.domain), static_cast<long long>(error.code)}];
}

- (ASPresentationAnchor)presentationAnchorForAuthorizationController:(ASAuthorizationController*)controller {
    // Never refused here: without the panel the sheet gets a window of its own.
    if (!_anchor) {
        _anchor = [[NSWindow alloc] initWithContentRect:NSZeroRect
                                              styleMask:NSWindowStyleMaskBorderless
                                                backing:NSBackingStoreBuffered
                                                  defer:YES];
        _anchor.releasedWhenClosed = NO;
    }
    return _anchor;
}

@end

namespace brisel::mac {

namespace {

ASAuthorizationScope scopeOf(AppleScope scope) {
    switch (scope) {
    case AppleScope::email: return ASAuthorizationScopeEmail;
    case AppleScope::fullName: return ASAuthorizationScopeFullName;
    }
    return ASAuthorizationScopeEmail;
}

}  // namespace

void MacAppleSignIn::perform(const AppleSignInRequest& request, std::function<void(AppleSignInOutcome)> completion) {
    ASAuthorizationAppleIDRequest* appleRequest = [[[ASAuthorizationAppleIDProvider alloc] init] createRequest];
    NSMutableArray<ASAuthorizationScope>* scopes = [NSMutableArray array];
    for (AppleScope scope : request.requestedScopes) [scopes addObject:scopeOf(scope)];
    appleRequest.requestedScopes = scopes;
    appleRequest.nonce = nsString(request.nonce);
    appleRequest.state = nsString(request.state);

    delegate_ = [[AppleSignInDelegate alloc] initWithAnchor:anchor_.window() completion:std::move(completion)];
    controller_ = [[ASAuthorizationController alloc] initWithAuthorizationRequests:@[ appleRequest ]];
    controller_.delegate = delegate_;
    controller_.presentationContextProvider = delegate_;
    [controller_ performRequests];
}

void MacAppleSignIn::cancel() {
    // -[ASAuthorizationController cancel] arrived in macOS 13 and is missing from this SDK.
    if ([controller_ respondsToSelector:@selector(cancel)]) [controller_ performSelector:@selector(cancel)];
}

}  // namespace brisel::mac
