#pragma once

// Google's sign-in library is optional: the build passes BRISEL_GOOGLE_SIGN_IN when it links
// it, and without it the companion has no Google port and answers "unconfigured".
#if defined(BRISEL_GOOGLE_SIGN_IN) && __has_include(<GoogleSignIn/GoogleSignIn.h>)
#define BRISEL_HAS_GOOGLE_SIGN_IN 1

#include "auth/sign_in_ports.h"

namespace brisel::mac {

class MacPanel;

// GIDSignIn.sharedInstance, presenting over the reader panel.
class MacGoogleSignIn final : public GoogleSignInPort {
public:
    explicit MacGoogleSignIn(const MacPanel& anchor) : anchor_(anchor) {}

    void setConfiguration(const GoogleConfiguration& configuration) override;
    void signIn(std::function<void(GoogleSignInOutcome)> completion) override;
    bool handle(const std::string& url) override;
    void signOut() override;

private:
    const MacPanel& anchor_;
};

}  // namespace brisel::mac

#else
#define BRISEL_HAS_GOOGLE_SIGN_IN 0
#endif
