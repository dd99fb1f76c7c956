#include "server/node_runtime.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "fakes/temp_dir.h"
#include "server/server_launch.h"

namespace brisel {
namespace {

namespace fs = std::filesystem;

// Files of a bundle laid out like Brisel.app, by path under Contents; "<folder>" puts a folder
// there instead. The developer's node is dev/node.
void makeBundle(const fs::path& contents, const std::map<std::string, std::string>& files) {
    for (const auto& [name, text] : files) {
        text == "<folder>" ? void(fs::create_directories(contents / name)) : testing::writeFile(contents / name, text);
    }
    testing::writeFile(contents / "dev/node", "#!/bin/sh\n");
    ::chmod((contents / "dev/node").c_str(), 0755);
    if (files.count("MacOS/node")) ::chmod((contents / "MacOS/node").c_str(), files.at("MacOS/node") == "x" ? 0755 : 0644);
}

TEST(NodeRuntime, TheBundledRuntimeOrTheDevelopersByTheModeFile) {
    testing::TempDir dir;
    const std::string developer = (dir / "dev/node").string();
    const struct {
        const char* why;
        std::map<std::string, std::string> files;
        std::string expected;  // "bundled", "developer" or none
    } rows[] = {
        {"no mode file: a bundled runtime wins", {{"MacOS/node", "x"}, {"Resources/node-path.txt", developer}}, "bundled"},
        {"no mode file, no bundled runtime: node-path.txt", {{"Resources/node-path.txt", developer + "\n"}}, "developer"},
        {"a bundled runtime that is not executable never falls back", {{"MacOS/node", "-"}, {"Resources/node-path.txt", developer}}, ""},
        {"external development", {{"MacOS/node", "x"}, {"Resources/runtime-mode.txt", " external-development \n"}, {"Resources/node-path.txt", developer}}, "developer"},
        {"the mode is case-sensitive", {{"MacOS/node", "x"}, {"Resources/runtime-mode.txt", "Bundled"}}, ""},
        {"a relative node path", {{"Resources/runtime-mode.txt", "external-development"}, {"Resources/node-path.txt", "dev/node"}}, ""},
        {"a node path of two lines", {{"Resources/node-path.txt", developer + "\n/bin/sh"}}, ""},
        {"a node path naming a folder", {{"Resources/node-path.txt", (dir / "dev").string()}}, ""},
        {"no node path", {{"Resources/runtime-mode.txt", "external-development"}}, ""},
        {"a folder in the mode file's place counts as no file", {{"MacOS/node", "x"}, {"Resources/runtime-mode.txt", "<folder>"}}, "bundled"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        fs::remove_all(dir.path());
        makeBundle(dir.path(), row.files);
        const auto expected = row.expected == "bundled" ? std::optional(dir / "MacOS/node")
                            : row.expected == "developer" ? std::optional(dir / "dev/node") : std::nullopt;
        EXPECT_EQ(resolveNodeRuntime(dir / "Resources"), expected);
    }
}

TEST(ServerLaunch, RunsTheScriptOfTheBackendModeWithTheRuntimeFirstOnPathAndNoNodeSettings) {
    testing::TempDir dir;
    makeBundle(dir.path(), {{"MacOS/node", "x"}, {"Resources/server/server.mjs", ""}});
    const Environment inherited{{"PATH", "/usr/bin"}, {"NODE_OPTIONS", "--require x"}, {"NODE_PATH", "/m"}, {"PORT", "3"}, {"HOME", "/h"}};
    EXPECT_EQ(serverLaunchSpec(dir / "Resources", false, inherited, "127.0.0.1", 47831).value().environment,
              (Environment{{"PATH", (dir / "MacOS").string() + ":/opt/homebrew/bin:/usr/bin"}, {"PORT", "47831"}, {"HOST", "127.0.0.1"}, {"HOME", "/h"}}));
    EXPECT_EQ(serverEnvironment({}, "/n/node", "127.0.0.1", 1).at("PATH"), "/n:/opt/homebrew/bin:/usr/bin:/bin");
    EXPECT_EQ(serverLaunchSpec(dir / "Resources", true, {}, "127.0.0.1", 47831), std::nullopt) << "no desktop-server.mjs";
}

}  // namespace
}  // namespace brisel
