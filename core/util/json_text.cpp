#include "util/json_text.h"

#include <cmath>

namespace brisel {

namespace {

bool hasOnlyFiniteNumbers(const nlohmann::json& value) {
    if (value.is_number_float()) return std::isfinite(value.get<double>());
    if (value.is_structured()) {
        for (const auto& element : value) {
            if (!hasOnlyFiniteNumbers(element)) return false;
        }
    }
    return true;
}

}  // namespace

std::optional<std::string> strictJSONText(const nlohmann::json& value, bool asciiOnly) {
    if (!hasOnlyFiniteNumbers(value)) return std::nullopt;
    try {
        return value.dump(-1, ' ', asciiOnly, nlohmann::json::error_handler_t::strict);
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

}  // namespace brisel
