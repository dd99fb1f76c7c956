#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "platform/process_launcher.h"

namespace brisel {

using Environment = std::map<std::string, std::string>;

// The server child's environment: the runtime's own folder first on PATH (so a server that
// spawns "node" by name finds the same runtime), no NODE_OPTIONS or NODE_PATH from the user's
// shell, and the address to listen on.
Environment serverEnvironment(const Environment& inherited, const std::filesystem::path& runtime,
                              const std::string& host, int port);

// How to start the page server from `resources`, or none when the runtime or the script is
// missing.
std::optional<ChildProcessSpec> serverLaunchSpec(const std::optional<std::filesystem::path>& resources,
                                                 bool cloudBackend, const Environment& inherited,
                                                 const std::string& host, int port);

}  // namespace brisel
