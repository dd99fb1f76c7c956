#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brisel {

// Small persisted values by key: the user defaults on macOS (as data), a file per key under
// the XDG config folder on Linux.
class KeyValueStorePort {
public:
    virtual ~KeyValueStorePort() = default;
    // The bytes stored under `key`; none when nothing is stored or it cannot be read.
    virtual std::optional<std::string> get(const std::string& key) const = 0;
    // Replaces the bytes under `key`; false when they could not be stored.
    virtual bool set(const std::string& key, std::string_view bytes) = 0;
};

}  // namespace brisel
