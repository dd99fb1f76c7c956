#include "auth/configuration_values.h"

#include "util/text.h"

namespace brisel {

JsonConfigurationValues::JsonConfigurationValues(nlohmann::json values) {
    if (values.is_object()) values_ = std::move(values);
}

JsonConfigurationValues JsonConfigurationValues::fromFile(const std::filesystem::path& path) {
    const auto text = readUTF8File(path);
    if (!text) return {};
    return JsonConfigurationValues(nlohmann::json::parse(*text, nullptr, false));
}

std::optional<nlohmann::json> JsonConfigurationValues::value(std::string_view key) const {
    const auto found = values_.find(std::string(key));
    if (found == values_.end()) return std::nullopt;
    return *found;
}

}  // namespace brisel
