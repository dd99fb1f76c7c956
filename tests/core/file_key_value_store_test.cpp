#include "shortcuts/file_key_value_store.h"

#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/temp_dir.h"
#include "shortcuts/shortcut_settings.h"

namespace brisel {
namespace {

using testing::TempDir;
using testing::readFile;
using testing::writeFile;

const std::string key = "brisel.keyboardShortcuts.v1";

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
}

TEST(FileKeyValueStore, TheFolderIsBriselUnderTheXDGConfigHomeOrDotConfig) {
    EXPECT_EQ(FileKeyValueStore::userFolder("/x/config", "/home/reader"), std::filesystem::path("/x/config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder(nullptr, "/home/reader"), std::filesystem::path("/home/reader/.config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder("", "/home/reader"), std::filesystem::path("/home/reader/.config/Brisel"));
    EXPECT_EQ(FileKeyValueStore::userFolder("relative/config", "/home/reader"),
              std::filesystem::path("/home/reader/.config/Brisel"))
        << "a relative XDG path is ignored";
    EXPECT_EQ(FileKeyValueStore::userFolder(nullptr, nullptr), std::nullopt);
    EXPECT_EQ(FileKeyValueStore::userFolder("", "relative"), std::nullopt);
}

TEST(FileKeyValueStore, OneJSONFilePerKey) {
    TempDir dir;
    FileKeyValueStore store(dir.path());
    EXPECT_EQ(store.fileFor(key), dir / "brisel.keyboardShortcuts.v1.json");
    EXPECT_EQ(store.fileFor(""), std::nullopt);
    EXPECT_EQ(store.fileFor("../escape"), std::nullopt);
    EXPECT_EQ(store.fileFor("a/b"), std::nullopt);
    EXPECT_EQ(store.fileFor(std::string("a\0b", 3)), std::nullopt);
    EXPECT_FALSE(store.set("a/b", "x"));
    EXPECT_EQ(store.get("a/b"), std::nullopt);
}

TEST(FileKeyValueStore, NothingStoredReadsAsNone) {
    TempDir dir;
    EXPECT_EQ(FileKeyValueStore(dir / "missing").get(key), std::nullopt);
    EXPECT_EQ(FileKeyValueStore(dir.path()).get(key), std::nullopt);
}

TEST(FileKeyValueStore, WritesCreateTheMissingFolderPrivately) {
    TempDir dir;
    const auto folder = dir / "config/Brisel";
    FileKeyValueStore store(folder);
    ASSERT_TRUE(store.set(key, "{\"a\":1}"));
    EXPECT_EQ(readFile(folder / "brisel.keyboardShortcuts.v1.json"), "{\"a\":1}");
    struct stat info {};
    ASSERT_EQ(::stat(folder.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    ASSERT_EQ(::stat((folder / "brisel.keyboardShortcuts.v1.json").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST(FileKeyValueStore, AReplacementLeavesOnlyTheNewFileBehind) {
    TempDir dir;
    FileKeyValueStore store(dir.path());
    ASSERT_TRUE(store.set(key, "first, and longer than the second"));
    ASSERT_TRUE(store.set(key, "second"));
    EXPECT_EQ(store.get(key), "second");
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"brisel.keyboardShortcuts.v1.json"}) << "no temporary file";
}

TEST(FileKeyValueStore, KeepsAnyBytes) {
    TempDir dir;
    FileKeyValueStore store(dir.path());
    const std::string bytes("\0\xff\n{", 4);
    ASSERT_TRUE(store.set(key, bytes));
    EXPECT_EQ(store.get(key), bytes);
    ASSERT_TRUE(store.set(key, ""));
    EXPECT_EQ(store.get(key), "") << "empty is stored, not missing";
}

TEST(FileKeyValueStore, AnUnreadableFileReadsAsNone) {
    TempDir dir;
    std::filesystem::create_directories(dir / "brisel.keyboardShortcuts.v1.json");
    FileKeyValueStore store(dir.path());
    EXPECT_EQ(store.get(key), std::nullopt);
}

TEST(FileKeyValueStore, AFIFOAtThePathIsRefusedWithoutWaiting) {
    TempDir dir;
    ASSERT_EQ(::mkfifo((dir / "brisel.keyboardShortcuts.v1.json").c_str(), 0600), 0);
    EXPECT_EQ(FileKeyValueStore(dir.path()).get(key), std::nullopt);
}

TEST(FileKeyValueStore, AFailedWriteKeepsTheOldValueAndLeavesNoTemporaryFile) {
    TempDir dir;
    const auto target = dir / "brisel.keyboardShortcuts.v1.json";
    std::filesystem::create_directories(target / "child");  // a non-empty folder cannot be renamed over
    FileKeyValueStore store(dir.path());
    EXPECT_FALSE(store.set(key, "new"));
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"brisel.keyboardShortcuts.v1.json"});
    EXPECT_TRUE(std::filesystem::is_directory(target / "child"));
}

TEST(FileKeyValueStore, AFolderThatIsAFileCannotBeWritten) {
    TempDir dir;
    writeFile(dir / "Brisel", "not a folder");
    FileKeyValueStore store(dir / "Brisel");
    EXPECT_FALSE(store.set(key, "x"));
    EXPECT_EQ(store.get(key), std::nullopt);
}

TEST(FileKeyValueStore, CarriesTheShortcutSettingsAcrossRuns) {
    TempDir dir;
    FileKeyValueStore store(dir / "Brisel");
    {
        BriselShortcutSettings settings(store);
        settings.begin(BriselShortcutAction::saveAndReturn);
        settings.accept({15, event_modifier::command, false});
    }
    BriselShortcutSettings again(store);
    EXPECT_EQ(again.bindings().saveAndReturn, BriselKeyBinding({15, BriselKeyBinding::command}));
}

}  // namespace
}  // namespace brisel
