#include "server/server_launch.h"

#include "server/node_runtime.h"

namespace brisel {

Environment serverEnvironment(const Environment& inherited, const std::filesystem::path& runtime,
                              const std::string& host, int port) {
    Environment environment = inherited;
    const auto path = inherited.find("PATH");
    environment["PATH"] = runtime.parent_path().string() + ":/opt/homebrew/bin:" +
                          (path != inherited.end() ? path->second : "/usr/bin:/bin");
    environment.erase("NODE_OPTIONS");
    environment.erase("NODE_PATH");
    environment["PORT"] = std::to_string(port);
    environment["HOST"] = host;
    return environment;
}

std::optional<ChildProcessSpec> serverLaunchSpec(const std::optional<std::filesystem::path>& resources,
                                                 bool cloudBackend, const Environment& inherited,
                                                 const std::string& host, int port) {
    if (!resources) return std::nullopt;
    const std::filesystem::path script =
        *resources / "server" / (cloudBackend ? "desktop-server.mjs" : "server.mjs");
    const auto runtime = resolveNodeRuntime(*resources);
    std::error_code error;
    if (!runtime || !std::filesystem::exists(script, error)) return std::nullopt;
    return ChildProcessSpec{runtime->string(), {script.string()}, resources->string(),
                            serverEnvironment(inherited, *runtime, host, port)};
}

}  // namespace brisel
