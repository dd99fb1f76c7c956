#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

namespace brisel {

// The app's own configuration values: Info.plist on macOS, a JSON file with the same keys on
// Linux. Strings, booleans (plist <true/> and <false/>), numbers, arrays and dictionaries come
// as their JSON kinds; other plist types (data, dates) as null. Absent when the key is missing.
class ConfigurationValuesPort {
public:
    virtual ~ConfigurationValuesPort() = default;
    virtual std::optional<nlohmann::json> value(std::string_view key) const = 0;
};

// Values held in one JSON object: the Linux shell's resources file, and tests.
class JsonConfigurationValues final : public ConfigurationValuesPort {
public:
    JsonConfigurationValues() = default;
    explicit JsonConfigurationValues(nlohmann::json values);

    // The object in `path`; no values at all when the file is missing, unreadable or not a
    // JSON object (sign-in then answers "unconfigured").
    static JsonConfigurationValues fromFile(const std::filesystem::path& path);

    std::optional<nlohmann::json> value(std::string_view key) const override;

private:
    nlohmann::json values_ = nlohmann::json::object();
};

}  // namespace brisel
