#include "app/startup_diagnostics.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>

#include <gtest/gtest.h>

#include "app/texts.h"
#include "fakes/temp_dir.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::readFile;
namespace fs = std::filesystem;

class StartupDiagnosticsTest : public ::testing::Test {
protected:
    fs::path folder() const { return home / "Logs/Brisel"; }
    fs::path logFile() const { return folder() / "startup.log"; }
    StartupDiagnostics open() { return StartupDiagnostics(folder(), [this] { return now; }); }

    testing::TempDir home;
    Clock::time_point now{};
};

TEST_F(StartupDiagnosticsTest, EmptiesThePreviousRunAndWritesOneSortedLinePerEventInAPrivateFileForSixtySeconds) {
    open().write("previous-run");
    auto log = open();
    now += std::chrono::microseconds(1'999'999);
    log.write("launch", {{"pid", 4242}, {"event", "forged"}, {"elapsedMs", -1}, {"alpha", true}});
    for (const json& value : {json(std::nan("")), json{{"deep", HUGE_VAL}}, json("\xC3\x28")}) log.write("bad", {{"v", value}});
    log.write("not-an-object", json::array({1, 2}));
    now = Clock::time_point{} + std::chrono::milliseconds(59'999);
    log.write("last");
    now += std::chrono::milliseconds(1);
    log.write("at-60-seconds");
    EXPECT_EQ(readFile(logFile()), "{\"alpha\":true,\"elapsedMs\":1999,\"event\":\"launch\",\"pid\":4242}\n"
                                   "{\"elapsedMs\":59999,\"event\":\"last\"}\n");
    EXPECT_EQ(fs::status(folder()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(logFile()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder()), {}), 1) << "no temporary file is left";
}

TEST_F(StartupDiagnosticsTest, WritesUpToExactly65536BytesAndOnlyWholeLines) {
    auto log = open();
    const auto padded = [&](size_t bytes) {  // a line of exactly `bytes`
        log.write("e", {{"p", std::string(bytes - json{{"elapsedMs", 0}, {"event", "e"}, {"p", ""}}.dump().size() - 1, 'x')}});
        return fs::file_size(logFile());
    };
    for (int i = 0; i < 60; ++i) padded(1000);
    EXPECT_EQ(padded(5537), 60'000u) << "a line that would end at 65,537 is dropped whole";
    EXPECT_EQ(padded(5536), 65'536u) << "a later, shorter line may end exactly at the limit";
    EXPECT_EQ(padded(40), 65'536u);
}

// A log is kept only where nobody else can swap it for a link, and no planted link is followed.
TEST_F(StartupDiagnosticsTest, RefusesAFolderOthersControlAndFollowsNoPlantedLink) {
    const fs::path victim = home / "victim", elsewhere = home / "elsewhere";
    const auto folderOf = [](const fs::path& f, mode_t mode) { return fs::create_directories(f) && ::chmod(f.c_str(), mode) == 0; };
    const auto linkIn = [&](const fs::path& f, const char* name) { return folderOf(f, 0700) && ::symlink(victim.c_str(), (f / name).c_str()) == 0; };
    const struct { const char* why; std::function<bool(const fs::path&)> plant; bool keepsALog; } rows[] = {
        {"a folder others may read is refused, not repaired", [&](auto& f) { return folderOf(f, 0755); }, false},
        {"a folder of another user", [&](auto& f) { return folderOf(f, 0700) && ::chown(f.c_str(), 65534, 65534) == 0; }, false},
        {"a link in the folder's place, to a private folder",
         [&](auto& f) { return folderOf(elsewhere, 0700) && fs::create_directories(f.parent_path()) && ::symlink(elsewhere.c_str(), f.c_str()) == 0; }, false},
        {"a link in the log's place is replaced, its target untouched", [&](auto& f) { return linkIn(f, "startup.log"); }, true},
        {"a link at a guessable temporary name", [&](auto& f) { return linkIn(f, "startup.log.new"); }, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        fs::remove_all(home / "Logs");
        testing::writeFile(victim, "victim");
        if (!row.plant(folder())) {
            std::cerr << "cannot be planted here, skipped: " << row.why << '\n';  // chown needs root
            continue;
        }
        const auto before = fs::symlink_status(folder()).permissions();
        ::testing::internal::CaptureStderr();
        open().write("launch");
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), row.keepsALog ? "" : texts::diagnosticsUnavailable);
        EXPECT_EQ(fs::is_regular_file(fs::symlink_status(logFile())), row.keepsALog);
        EXPECT_EQ(readFile(victim), "victim");
        EXPECT_EQ(fs::symlink_status(folder()).permissions(), before);
    }
}

TEST(StartupDiagnosticsFolder, IsTheStateFolderOrUnderHomeAndWithoutAHomeThereIsNone) {
    EXPECT_EQ(StartupDiagnostics::linuxFolder("/state", "/home/reader"), fs::path("/state/Brisel"));
    EXPECT_EQ(StartupDiagnostics::linuxFolder("state", "/home/reader"), fs::path("/home/reader/.local/state/Brisel"));
    EXPECT_EQ(StartupDiagnostics::linuxFolder(nullptr, ""), std::nullopt) << "no /tmp or other stand-in";
}

}  // namespace
}  // namespace brisel
