#include "shortcuts/file_key_value_store.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "fakes/temp_dir.h"

namespace brisel {
namespace {

using namespace testing;

const std::string key = "brisel.keyboardShortcuts.v1", file = key + ".json";

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
}

TEST(FileKeyValueStore, LivesUnderTheXDGConfigFolderAndKeepsEachKeyPrivatelyInAFileOfItsOwn) {
    using Folder = std::optional<std::filesystem::path>;
    EXPECT_EQ(FileKeyValueStore::userFolder("/x/config", "/home/reader"), Folder("/x/config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder("relative", "/home/reader"), Folder("/home/reader/.config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder(nullptr, "/home/reader"), Folder("/home/reader/.config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder("", "relative"), std::nullopt);
    TempDir dir;
    FileKeyValueStore store(dir / "config/Brisel");
    EXPECT_EQ(store.get(key), std::nullopt) << "nothing stored, not even a folder";
    ASSERT_TRUE(store.set(key, "first, and longer than the second"));
    ASSERT_TRUE(store.set(key, std::string("\0\xff\n{", 4)));
    EXPECT_EQ(store.get(key), std::string("\0\xff\n{", 4));
    EXPECT_EQ(namesIn(dir / "config/Brisel"), std::vector<std::string>{file}) << "no temporary file";
    EXPECT_EQ(std::filesystem::status(dir / "config/Brisel").permissions(), std::filesystem::perms(0700));
    EXPECT_EQ(std::filesystem::status(dir / "config/Brisel" / file).permissions(), std::filesystem::perms(0600));
    for (const std::string& refused : std::vector<std::string>{"", ".hidden", "..", "../escape", "a/b", {"a\0b", 3}}) {
        EXPECT_EQ(store.fileFor(refused), std::nullopt) << refused;
        EXPECT_FALSE(store.set(refused, "x")) << refused;
    }
    EXPECT_EQ(namesIn(dir / "config/Brisel"), std::vector<std::string>{file}) << "no other file anywhere";
    EXPECT_EQ(namesIn(dir / "config"), std::vector<std::string>{"Brisel"});
}

TEST(FileKeyValueStore, WhatIsNotARegularFileReadsAsNothingAndIsKept) {
    TempDir dir;
    std::filesystem::create_directories(dir / file / "child");  // a non-empty folder cannot be renamed over
    FileKeyValueStore store(dir.path());
    EXPECT_EQ(store.get(key), std::nullopt);
    EXPECT_FALSE(store.set(key, "new"));
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{file});
    std::filesystem::remove_all(dir / file);
    ASSERT_EQ(::mkfifo((dir / file).c_str(), 0600), 0);
    EXPECT_EQ(store.get(key), std::nullopt) << "a FIFO is refused without waiting";
    writeFile(dir / "Brisel", "a file where the folder goes");
    EXPECT_FALSE(FileKeyValueStore(dir / "Brisel").set(key, "x"));
}

}  // namespace
}  // namespace brisel
