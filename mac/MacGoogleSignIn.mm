#include "MacGoogleSignIn.h"

#if BRISEL_HAS_GOOGLE_SIGN_IN

#import <GoogleSignIn/GoogleSignIn.h>

#include "Conversions.h"
#include "MacPanel.h"

namespace brisel::mac {

void MacGoogleSignIn::setConfiguration(const GoogleConfiguration& configuration) {
    GIDSignIn.sharedInstance.configuration =
        [[GIDConfiguration alloc] initWithClientID:nsString(configuration.clientID)
                                    serverClientID:nsString(configuration.serverClientID)];
}

void MacGoogleSignIn::signIn(std::function<void(GoogleSignInOutcome)> completion) {
    [GIDSignIn.sharedInstance signInWithPresentingWindow:anchor_.window()
                                              completion:^(GIDSignInResult* result, NSError* error) {
                                                GoogleSignInOutcome outcome;
                                                if (error) {
                                                    outcome.error = SignInError{stdString(error.domain),
                                                                                static_cast<long long>(error.code)};
                                                }
                                                GIDGoogleUser* user = result.user;
                                                outcome.idToken = optionalString(user.idToken.tokenString);
                                                outcome.accessToken = stdString(user.accessToken.tokenString);
                                                completion(std::move(outcome));
                                              }];
}

bool MacGoogleSignIn::handle(const std::string& url) {
    NSURL* address = [NSURL URLWithString:nsString(url)];
    return address && [GIDSignIn.sharedInstance handleURL:address];
}

void MacGoogleSignIn::signOut() {
    [GIDSignIn.sharedInstance signOut];
}

}  // namespace brisel::mac

#endif
