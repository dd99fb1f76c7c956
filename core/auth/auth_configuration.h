#pragma once

// Sign-in and billing values that differ between builds (staging hosts, another payment
// provider). Each one is a CMake cache variable of the same name, passed to every target that
// links brisel_core, e.g. -DBRISEL_AUTH_HOST=auth.staging.brisel.app; the defaults below are the
// product's own.

#include <string_view>

#ifndef BRISEL_APPLE_PROVIDER_ID
#define BRISEL_APPLE_PROVIDER_ID "apple.com"
#endif
#ifndef BRISEL_GOOGLE_PROVIDER_ID
#define BRISEL_GOOGLE_PROVIDER_ID "google.com"
#endif
#ifndef BRISEL_AUTH_HOST
#define BRISEL_AUTH_HOST "auth.brisel.app"
#endif
#ifndef BRISEL_BILLING_CHECKOUT_HOST
#define BRISEL_BILLING_CHECKOUT_HOST "checkout.stripe.com"
#endif
#ifndef BRISEL_BILLING_PORTAL_HOST
#define BRISEL_BILLING_PORTAL_HOST "billing.stripe.com"
#endif
#ifndef BRISEL_APP_STORE_HOST
#define BRISEL_APP_STORE_HOST "apps.apple.com"
#endif
#ifndef BRISEL_GOOGLE_CLIENT_ID_SUFFIX
#define BRISEL_GOOGLE_CLIENT_ID_SUFFIX ".apps.googleusercontent.com"
#endif

namespace brisel {

// The provider names the page sends in "authenticate" and gets back in "brisel:auth-result".
inline constexpr std::string_view appleProviderID = BRISEL_APPLE_PROVIDER_ID;
inline constexpr std::string_view googleProviderID = BRISEL_GOOGLE_PROVIDER_ID;

// The web application's own sign-in page, opened in the browser for a desktop connection.
inline constexpr std::string_view authenticationHost = BRISEL_AUTH_HOST;

// Where "openBilling" may send the user: the payment provider's checkout and customer portal,
// or the App Store's subscription page at `appStoreSubscriptionsPath` on `appStoreHost`.
inline constexpr std::string_view billingCheckoutHost = BRISEL_BILLING_CHECKOUT_HOST;
inline constexpr std::string_view billingPortalHost = BRISEL_BILLING_PORTAL_HOST;
inline constexpr std::string_view appStoreHost = BRISEL_APP_STORE_HOST;
inline constexpr std::string_view appStoreSubscriptionsPath = "/account/subscriptions";

// What Google puts after the project part of every OAuth client ID.
inline constexpr std::string_view googleClientIDSuffix = BRISEL_GOOGLE_CLIENT_ID_SUFFIX;

// Info.plist keys (on Linux, the same keys in the shell's resources file).
namespace configuration_key {
inline constexpr std::string_view appleSignInEnabled = "BriselAppleSignInEnabled";
inline constexpr std::string_view googleClientID = "BriselGoogleClientID";
inline constexpr std::string_view googleServerClientID = "BriselGoogleServerClientID";
inline constexpr std::string_view urlTypes = "CFBundleURLTypes";
inline constexpr std::string_view urlSchemes = "CFBundleURLSchemes";
}  // namespace configuration_key

}  // namespace brisel
