#include "auth/sign_in_configuration.h"

#include <algorithm>
#include <vector>

#include "auth/auth_configuration.h"
#include "util/utf16.h"

namespace brisel {

namespace {

// Upper-cased the way Foundation does it (full Unicode mapping, root locale), so the same plist
// text switches the feature on on both platforms.
std::optional<std::string> unicodeUppercase(std::string_view text) {
    const auto unicode = utf16FromUTF8(text);
    if (!unicode) return std::nullopt;
    return utf8FromUTF16(uppercased(*unicode));
}

std::vector<std::string> registeredURLSchemes(const ConfigurationValuesPort& values) {
    std::vector<std::string> schemes;
    const auto types = values.value(configuration_key::urlTypes);
    if (!types || !types->is_array()) return schemes;
    for (const auto& type : *types) {
        if (!type.is_object()) continue;
        const auto list = type.find(std::string(configuration_key::urlSchemes));
        if (list == type.end() || !list->is_array()) continue;
        for (const auto& scheme : *list) {
            if (scheme.is_string()) schemes.push_back(scheme.get<std::string>());
        }
    }
    return schemes;
}

}  // namespace

bool isAppleSignInEnabled(const ConfigurationValuesPort& values) {
    const auto value = values.value(configuration_key::appleSignInEnabled);
    if (!value) return false;
    if (value->is_boolean()) return value->get<bool>();
    if (!value->is_string()) return false;
    const auto& text = value->get_ref<const std::string&>();
    return unicodeUppercase(text) == "YES";
}

std::optional<std::string> configuredString(const ConfigurationValuesPort& values, std::string_view key) {
    const auto value = values.value(key);
    if (!value || !value->is_string()) return std::nullopt;
    auto text = value->get<std::string>();
    if (text.empty() || text.find("$(") != std::string::npos || text.find("YOUR_") != std::string::npos) {
        return std::nullopt;
    }
    return text;
}

bool isGoogleClientID(std::string_view clientID) {
    if (clientID.size() <= googleClientIDSuffix.size() || !clientID.ends_with(googleClientIDSuffix)) return false;
    const auto project = clientID.substr(0, clientID.size() - googleClientIDSuffix.size());
    for (const char c : project) {
        if (!((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-')) return false;
    }
    return true;
}

std::string reversedClientID(std::string_view clientID) {
    std::vector<std::string_view> pieces;
    for (size_t start = 0; start <= clientID.size();) {
        const size_t dot = std::min(clientID.find('.', start), clientID.size());
        if (dot > start) pieces.push_back(clientID.substr(start, dot - start));
        start = dot + 1;
    }
    std::string reversed;
    for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
        if (!reversed.empty()) reversed += '.';
        reversed += *piece;
    }
    return reversed;
}

std::optional<GoogleConfiguration> googleConfiguration(const ConfigurationValuesPort& values) {
    auto clientID = configuredString(values, configuration_key::googleClientID);
    if (!clientID) return std::nullopt;
    auto serverClientID = configuredString(values, configuration_key::googleServerClientID);
    if (!serverClientID) return std::nullopt;
    if (!isGoogleClientID(*clientID) || !isGoogleClientID(*serverClientID)) return std::nullopt;
    const std::string scheme = reversedClientID(*clientID);
    for (const auto& registered : registeredURLSchemes(values)) {
        if (registered == scheme) return GoogleConfiguration{std::move(*clientID), std::move(*serverClientID)};
    }
    return std::nullopt;
}

}  // namespace brisel
