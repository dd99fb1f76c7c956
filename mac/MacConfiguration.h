#pragma once

#include "auth/configuration_values.h"

namespace brisel::mac {

// The main bundle's Info.plist, as JSON values.
class MacConfiguration final : public ConfigurationValuesPort {
public:
    std::optional<nlohmann::json> value(std::string_view key) const override;
};

}  // namespace brisel::mac
