#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

#include "auth/sign_in_ports.h"

@class AppleSignInDelegate;

namespace brisel::mac {

class MacPanel;

// Sign in with Apple through AuthenticationServices, presented over the reader panel. Each
// request gets its own controller and delegate; only the latest pair is kept.
class MacAppleSignIn final : public AppleSignInPort {
public:
    explicit MacAppleSignIn(const MacPanel& anchor) : anchor_(anchor) {}

    void perform(const AppleSignInRequest& request, std::function<void(AppleSignInOutcome)> completion) override;
    void cancel() override;

private:
    const MacPanel& anchor_;
    ASAuthorizationController* controller_ = nil;
    // The controller holds its delegate weakly.
    AppleSignInDelegate* delegate_ = nil;
};

}  // namespace brisel::mac
