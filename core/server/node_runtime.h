#pragma once

#include <filesystem>
#include <optional>

namespace brisel {

// The Node executable to run for the page server, or none.
//
// Without "runtime-mode.txt" a present in-bundle runtime (contents/MacOS/node) wins and
// "node-path.txt" is read only when no such file exists. An in-bundle file that is not
// executable yields none rather than falling back: a broken bundle must be rebuilt, not
// silently replaced by whatever Node the developer has.
std::optional<std::filesystem::path> resolveNodeRuntime(const std::filesystem::path& resources);

}  // namespace brisel
