#include "shortcuts/file_key_value_store.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "fakes/temp_dir.h"
#include "shortcuts/shortcut_settings.h"

namespace brisel {
namespace {

using testing::TempDir;

const std::string key = "brisel.keyboardShortcuts.v1";

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
}

mode_t modeOf(const std::filesystem::path& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 0777 : 0;
}

TEST(FileKeyValueStore, TheFolderIsBriselUnderAnAbsoluteXDGConfigHomeOrDotConfig) {
    using Folder = std::optional<std::filesystem::path>;
    EXPECT_EQ(FileKeyValueStore::userFolder("/x/config", "/home/reader"), Folder("/x/config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder(nullptr, "/home/reader"), Folder("/home/reader/.config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder("", "/home/reader"), Folder("/home/reader/.config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder("relative", "/home/reader"), Folder("/home/reader/.config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder(nullptr, nullptr), std::nullopt);
    EXPECT_EQ(FileKeyValueStore::userFolder("", "relative"), std::nullopt);
}

TEST(FileKeyValueStore, OnlyAPlainFileNameIsAKey) {
    TempDir dir;
    FileKeyValueStore store(dir.path());
    EXPECT_EQ(store.fileFor(key), dir / "brisel.keyboardShortcuts.v1.json");
    for (const std::string& refused : std::vector<std::string>{"", ".hidden", "..", "../escape", "a/b", {"a\0b", 3}}) {
        EXPECT_EQ(store.fileFor(refused), std::nullopt) << refused;
        EXPECT_FALSE(store.set(refused, "x")) << refused;
    }
    EXPECT_FALSE(std::filesystem::exists(dir.path().parent_path() / "escape.json"));
    EXPECT_TRUE(namesIn(dir.path()).empty());
}

TEST(FileKeyValueStore, WritesPrivatelyAndReplacesWholly) {
    TempDir dir;
    const auto folder = dir / "config/Brisel";
    FileKeyValueStore store(folder);
    EXPECT_EQ(store.get(key), std::nullopt) << "nothing stored, not even a folder";
    ASSERT_TRUE(store.set(key, "first, and longer than the second"));
    ASSERT_TRUE(store.set(key, std::string("\0\xff\n{", 4)));
    EXPECT_EQ(store.get(key), std::string("\0\xff\n{", 4));
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"brisel.keyboardShortcuts.v1.json"}) << "no temporary file";
    EXPECT_EQ(modeOf(folder), 0700u);
    EXPECT_EQ(modeOf(folder / "brisel.keyboardShortcuts.v1.json"), 0600u);
    ASSERT_TRUE(store.set(key, ""));
    EXPECT_EQ(store.get(key), "") << "empty is stored, not missing";
}

TEST(FileKeyValueStore, WhatIsNotARegularFileReadsAsNothingAndIsKept) {
    TempDir dir;
    const auto target = dir / "brisel.keyboardShortcuts.v1.json";
    std::filesystem::create_directories(target / "child");  // a non-empty folder cannot be renamed over
    FileKeyValueStore store(dir.path());
    EXPECT_EQ(store.get(key), std::nullopt);
    EXPECT_FALSE(store.set(key, "new"));
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"brisel.keyboardShortcuts.v1.json"});
    EXPECT_TRUE(std::filesystem::is_directory(target / "child"));

    std::filesystem::remove_all(target);
    ASSERT_EQ(::mkfifo(target.c_str(), 0600), 0);
    EXPECT_EQ(store.get(key), std::nullopt) << "a FIFO is refused without waiting";

    testing::writeFile(dir / "Brisel", "a file where the folder goes");
    EXPECT_FALSE(FileKeyValueStore(dir / "Brisel").set(key, "x"));
}

TEST(FileKeyValueStore, CarriesTheShortcutSettingsAcrossRuns) {
    TempDir dir;
    FileKeyValueStore store(dir / "Brisel");
    {
        BriselShortcutSettings settings(store);
        settings.begin(BriselShortcutAction::saveAndReturn);
        settings.accept({15, event_modifier::command, false});
    }
    EXPECT_EQ(BriselShortcutSettings(store).bindings().saveAndReturn, BriselKeyBinding({15, BriselKeyBinding::command}));
}

}  // namespace
}  // namespace brisel
