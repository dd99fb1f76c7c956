#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace brisel {

// The JSON text of `value` with sorted keys, or none where Foundation's serialiser refuses too:
// NaN, infinity, or a string that is not UTF-8. (nlohmann would write the numbers as null.)
// `asciiOnly` escapes every non-ASCII character.
std::optional<std::string> strictJSONText(const nlohmann::json& value, bool asciiOnly = false);

}  // namespace brisel
