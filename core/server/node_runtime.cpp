#include "server/node_runtime.h"

#include <unistd.h>

#include "util/text.h"

namespace brisel {

namespace {

bool isExecutableFile(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

std::optional<std::filesystem::path> inBundle(const std::filesystem::path& runtime) {
    if (isExecutableFile(runtime)) return runtime;
    return std::nullopt;
}

std::optional<std::filesystem::path> external(const std::filesystem::path& resources) {
    const auto path = readTrimmedSetting(resources / "node-path.txt");
    if (!path || path->empty() || path->front() != '/' ||
        containsNulOrLineBreak(*path)) {
        return std::nullopt;
    }
    if (!isExecutableFile(*path)) return std::nullopt;
    return std::filesystem::path(*path);
}

}  // namespace

std::optional<std::filesystem::path> resolveNodeRuntime(const std::filesystem::path& resources) {
    const std::filesystem::path runtime = resources.parent_path() / "MacOS" / "node";
    const auto mode = readTrimmedSetting(resources / "runtime-mode.txt");
    if (!mode) {
        std::error_code error;
        return std::filesystem::exists(runtime, error) ? inBundle(runtime) : external(resources);
    }
    if (*mode == "bundled") return inBundle(runtime);
    if (*mode == "external-development") return external(resources);
    return std::nullopt;
}

}  // namespace brisel
