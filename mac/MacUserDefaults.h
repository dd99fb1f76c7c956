#pragma once

#include "shortcuts/key_value_store_port.h"

namespace brisel::mac {

// NSUserDefaults.standardUserDefaults, each value stored as data.
class MacUserDefaults final : public KeyValueStorePort {
public:
    std::optional<std::string> get(const std::string& key) const override;
    bool set(const std::string& key, std::string_view bytes) override;
};

}  // namespace brisel::mac
