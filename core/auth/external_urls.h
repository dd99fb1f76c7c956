#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brisel {

// Longest "openAuthBrowser" address we open; the page's connect links are far shorter.
inline constexpr size_t maximumSignInURLLength = 299;

// "openAuthBrowser": only the web application's sign-in page, "https://<authenticationHost>/"
// with a "#desktop-connect=..." fragment and nothing else (no port, query or user info).
bool isSignInURL(std::string_view url);

// "openBilling": an https page of the payment provider's checkout or billing portal (port
// absent or 443), or exactly the App Store's subscription page.
bool isBillingURL(std::string_view url);

// "https://<appStoreHost>/account/subscriptions", the one App Store address "openBilling" opens.
std::string appStoreSubscriptionsURL();

}  // namespace brisel
