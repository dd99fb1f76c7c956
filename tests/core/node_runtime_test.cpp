#include "server/node_runtime.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "fakes/temp_dir.h"
#include "server/server_launch.h"

namespace brisel {
namespace {

using testing::writeFile;

// A bundle laid out like Brisel.app: Contents/MacOS and Contents/Resources.
class NodeRuntimeTest : public ::testing::Test {
protected:
    std::filesystem::path resources() const { return dir / "Contents/Resources"; }
    std::filesystem::path bundled() const { return dir / "Contents/MacOS/node"; }
    std::filesystem::path developerNode() const { return dir / "dev/bin/node"; }

    void SetUp() override {
        std::filesystem::create_directories(resources());
        makeExecutable(developerNode());
    }

    static void makeExecutable(const std::filesystem::path& path, mode_t mode = 0755) {
        writeFile(path, "#!/bin/sh\n");
        ::chmod(path.c_str(), mode);
    }

    void setting(const std::string& name, const std::string& text) { writeFile(resources() / name, text); }

    testing::TempDir dir;
};

TEST_F(NodeRuntimeTest, WithoutAModeFileABundledRuntimeWins) {
    makeExecutable(bundled());
    setting("node-path.txt", developerNode().string());
    EXPECT_EQ(resolveNodeRuntime(resources()), bundled());
}

TEST_F(NodeRuntimeTest, WithoutAModeFileOrBundledRuntimeTheNodePathIsUsed) {
    setting("node-path.txt", developerNode().string() + "\n");
    EXPECT_EQ(resolveNodeRuntime(resources()), developerNode());
}

TEST_F(NodeRuntimeTest, ANonExecutableBundledRuntimeNeverFallsBack) {
    makeExecutable(bundled(), 0644);
    setting("node-path.txt", developerNode().string());
    EXPECT_EQ(resolveNodeRuntime(resources()), std::nullopt);
    setting("runtime-mode.txt", "bundled");
    EXPECT_EQ(resolveNodeRuntime(resources()), std::nullopt);
}

TEST_F(NodeRuntimeTest, ModesAreTrimmedButCaseSensitive) {
    makeExecutable(bundled());
    setting("node-path.txt", developerNode().string());
    setting("runtime-mode.txt", "bundled\n");
    EXPECT_EQ(resolveNodeRuntime(resources()), bundled());
    setting("runtime-mode.txt", " external-development \n");
    EXPECT_EQ(resolveNodeRuntime(resources()), developerNode());
    setting("runtime-mode.txt", "Bundled");
    EXPECT_EQ(resolveNodeRuntime(resources()), std::nullopt);
}

TEST_F(NodeRuntimeTest, RejectsRelativeMultiLineAndNonExecutableNodePaths) {
    setting("runtime-mode.txt", "external-development");
    setting("node-path.txt", "dev/bin/node");
    EXPECT_EQ(resolveNodeRuntime(resources()), std::nullopt);
    setting("node-path.txt", developerNode().string() + "\n/bin/sh");
    EXPECT_EQ(resolveNodeRuntime(resources()), std::nullopt);
    setting("node-path.txt", (dir / "dev/bin").string());
    EXPECT_EQ(resolveNodeRuntime(resources()), std::nullopt) << "a folder is not an executable file";
    std::filesystem::remove(resources() / "node-path.txt");
    EXPECT_EQ(resolveNodeRuntime(resources()), std::nullopt);
}

TEST_F(NodeRuntimeTest, AModeFileThatCannotBeReadCountsAsMissing) {
    makeExecutable(bundled());
    std::filesystem::create_directory(resources() / "runtime-mode.txt");
    EXPECT_EQ(resolveNodeRuntime(resources()), bundled()) << "a folder in its place";
    std::filesystem::remove(resources() / "runtime-mode.txt");
    std::filesystem::create_symlink("runtime-mode.txt", resources() / "runtime-mode.txt");
    EXPECT_EQ(resolveNodeRuntime(resources()), bundled()) << "a link to itself";
    std::filesystem::remove(resources() / "runtime-mode.txt");
    setting("runtime-mode.txt", "external-development");
    std::filesystem::create_directory(resources() / "node-path.txt");
    EXPECT_EQ(resolveNodeRuntime(resources()), std::nullopt) << "a folder in the node path's place";
}

TEST(ServerEnvironment, PutsTheRuntimeFirstOnPathAndDropsTheUsersNodeSettings) {
    const Environment inherited{{"PATH", "/usr/local/bin:/usr/bin"},
                                {"NODE_OPTIONS", "--require /tmp/evil.js"},
                                {"NODE_PATH", "/tmp/modules"},
                                {"HOME", "/home/reader"},
                                {"PORT", "3000"}};
    const Environment child = serverEnvironment(inherited, "/opt/brisel/node/bin/node", "127.0.0.1", 47831);
    EXPECT_EQ(child.at("PATH"), "/opt/brisel/node/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin");
    EXPECT_EQ(child.count("NODE_OPTIONS"), 0u);
    EXPECT_EQ(child.count("NODE_PATH"), 0u);
    EXPECT_EQ(child.at("PORT"), "47831");
    EXPECT_EQ(child.at("HOST"), "127.0.0.1");
    EXPECT_EQ(child.at("HOME"), "/home/reader");

    EXPECT_EQ(serverEnvironment({}, "/n/node", "127.0.0.1", 1).at("PATH"), "/n:/opt/homebrew/bin:/usr/bin:/bin");
}

TEST_F(NodeRuntimeTest, TheLaunchRunsTheScriptOfTheBackendModeFromTheResourcesFolder) {
    setting("node-path.txt", developerNode().string());
    EXPECT_EQ(serverLaunchSpec(resources(), false, {}, "127.0.0.1", 47831), std::nullopt) << "no script yet";
    writeFile(resources() / "server/server.mjs", "");
    const auto local = serverLaunchSpec(resources(), false, {}, "127.0.0.1", 47831);
    ASSERT_TRUE(local);
    EXPECT_EQ(local->executable, developerNode().string());
    EXPECT_EQ(local->arguments, std::vector<std::string>{(resources() / "server/server.mjs").string()});
    EXPECT_EQ(local->directory, resources().string());
    EXPECT_EQ(serverLaunchSpec(resources(), true, {}, "127.0.0.1", 47831), std::nullopt) << "the cloud script is missing";
    EXPECT_EQ(serverLaunchSpec(std::nullopt, false, {}, "127.0.0.1", 47831), std::nullopt);
}

}  // namespace
}  // namespace brisel
