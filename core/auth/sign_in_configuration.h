#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "auth/configuration_values.h"

namespace brisel {

// "BriselAppleSignInEnabled": on for a Boolean true or a string that upper-cases to "YES".
bool isAppleSignInEnabled(const ConfigurationValuesPort& values);

// A configuration string that was really filled in: not empty, and neither an unexpanded build
// variable ("$(...)") nor a template placeholder ("YOUR_...").
std::optional<std::string> configuredString(const ConfigurationValuesPort& values, std::string_view key);

// One or more of A-Z, a-z, 0-9 and "-", then `googleClientIDSuffix`.
bool isGoogleClientID(std::string_view clientID);

// "a.b.c" becomes "c.b.a" (empty pieces dropped): the URL scheme Google's redirect comes back on.
std::string reversedClientID(std::string_view clientID);

struct GoogleConfiguration {
    std::string clientID;
    std::string serverClientID;  // the server side's client ID, for the library's server client ID
    bool operator==(const GoogleConfiguration&) const = default;
};

// Both client IDs configured and well formed, and the app registered for the reversed client ID
// as a URL scheme under "CFBundleURLTypes"; absent for anything less.
std::optional<GoogleConfiguration> googleConfiguration(const ConfigurationValuesPort& values);

}  // namespace brisel
