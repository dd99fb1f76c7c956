#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "shortcuts/key_value_store_port.h"

namespace brisel {

// The key-value store of hosts without user defaults (Linux): one file per key, "<key>.json",
// in a folder of its own, replaced atomically so a crash leaves the old value or the new one.
class FileKeyValueStore final : public KeyValueStorePort {
public:
    // The folder is created (0700, with any missing parents) on the first write.
    explicit FileKeyValueStore(std::filesystem::path folder);

    // "Brisel" under $XDG_CONFIG_HOME, or under ~/.config when that is unset or relative (as
    // the XDG rules ask); none when neither gives an absolute path.
    static std::optional<std::filesystem::path> userFolder(const char* xdgConfigHome, const char* home);

    std::optional<std::string> get(const std::string& key) const override;
    bool set(const std::string& key, std::string_view bytes) override;

    // The file of `key`; none for a key that is not a plain file name.
    std::optional<std::filesystem::path> fileFor(const std::string& key) const;

private:
    std::filesystem::path folder_;
};

}  // namespace brisel
