#include "app/startup_diagnostics.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <thread>

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
    // A line "e" of `pad` bytes more than the shortest.
    void writePadded(StartupDiagnostics& log, size_t pad) { log.write("e", {{"p", std::string(pad, 'x')}}); }

    testing::TempDir home;
    Clock::time_point now{};
};

TEST_F(StartupDiagnosticsTest, WritesOneSortedLinePerEventWithItsOwnEventAndElapsedKeys) {
    auto log = open();
    now += std::chrono::microseconds(1'999'999);
    log.write("launch", {{"pid", 4242}, {"event", "forged"}, {"elapsedMs", -1}, {"alpha", true}});
    log.write("nan", {{"value", std::nan("")}});
    log.write("infinite", {{"nested", {{"value", HUGE_VAL}}}});
    log.write("bad-utf8", {{"value", std::string("\xC3\x28")}});
    log.write("not-an-object", json::array({1, 2}));
    EXPECT_EQ(readFile(logFile()), "{\"alpha\":true,\"elapsedMs\":1999,\"event\":\"launch\",\"pid\":4242}\n");
}

TEST_F(StartupDiagnosticsTest, WritesNothingFromSixtySecondsOn) {
    auto log = open();
    now += std::chrono::milliseconds(59'999);
    log.write("last");
    now += std::chrono::milliseconds(1);
    log.write("too-late");
    EXPECT_EQ(readFile(logFile()), "{\"elapsedMs\":59999,\"event\":\"last\"}\n");
}

TEST_F(StartupDiagnosticsTest, WritesUpToExactly65536BytesAndOnlyWholeLines) {
    auto log = open();
    const size_t shortest = json{{"elapsedMs", 0}, {"event", "e"}, {"p", ""}}.dump().size() + 1;
    for (int i = 0; i < 60; ++i) writePadded(log, 1000 - shortest);
    writePadded(log, 5536 - shortest + 1);
    EXPECT_EQ(fs::file_size(logFile()), 60'000u) << "a line that would end at 65,537 is dropped whole";
    writePadded(log, 5536 - shortest);
    EXPECT_EQ(fs::file_size(logFile()), 65'536u) << "a later, shorter line may end exactly at the limit";
    writePadded(log, 0);
    EXPECT_EQ(fs::file_size(logFile()), 65'536u);
}

TEST_F(StartupDiagnosticsTest, MakesAPrivateFolderAndFileAndEmptiesThePreviousRun) {
    open().write("previous-run");
    auto log = open();
    ASSERT_TRUE(log.isOpen());
    EXPECT_EQ(readFile(logFile()), "");
    struct stat info {};
    ASSERT_EQ(::stat(folder().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    ASSERT_EQ(::stat(logFile().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder()), {}), 1) << "no temporary file is left";
}

// What others may have put in the log's way. A log is kept only where nobody else can swap it
// for a link, and no planted link is ever followed.
TEST_F(StartupDiagnosticsTest, RefusesAFolderOthersControlAndFollowsNoPlantedLink) {
    const fs::path victim = home / "victim";
    struct Row {
        const char* why;
        std::function<bool(const fs::path& folder, const fs::path& victim)> plant;
        bool keepsALog;
    };
    const std::vector<Row> rows = {
        {"a folder others may read is refused, not repaired",
         [](auto& f, auto&) { return fs::create_directories(f) && ::chmod(f.c_str(), 0755) == 0; }, false},
        {"a folder of another user is refused",
         [](auto& f, auto&) { return fs::create_directories(f) && ::chown(f.c_str(), 65534, 65534) == 0; }, false},
        {"a link in the folder's place is not followed",
         [](auto& f, auto& v) { fs::create_directories(f.parent_path()); return ::symlink(v.parent_path().c_str(), f.c_str()) == 0; }, false},
        {"a file where a folder must be leaves no log",
         [](auto& f, auto&) { testing::writeFile(f.parent_path(), "a file"); return true; }, false},
        {"a link in the log's place is replaced, its target untouched",
         [](auto& f, auto& v) { return fs::create_directories(f) && ::chmod(f.c_str(), 0700) == 0 &&
                                       ::symlink(v.c_str(), (f / "startup.log").c_str()) == 0; }, true},
        {"a link at a guessable temporary name is not followed",
         [](auto& f, auto& v) { return fs::create_directories(f) && ::chmod(f.c_str(), 0700) == 0 &&
                                       ::symlink(v.c_str(), (f / "startup.log.new").c_str()) == 0; }, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        fs::remove_all(home / "Logs");
        testing::writeFile(victim, "victim");
        if (!row.plant(folder(), victim)) {
            std::cerr << "cannot plant here, skipped: " << row.why << '\n';
            continue;
        }
        const auto mode = fs::symlink_status(folder()).permissions();
        ::testing::internal::CaptureStderr();
        auto log = open();
        log.write("launch");
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), row.keepsALog ? "" : texts::diagnosticsUnavailable);
        EXPECT_EQ(log.isOpen(), row.keepsALog);
        EXPECT_EQ(readFile(victim), "victim");
        EXPECT_EQ(fs::symlink_status(folder()).permissions(), mode);
        if (row.keepsALog) EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(logFile())));
    }
}

TEST(StartupDiagnosticsFolder, WithoutAHomeThereIsNoLogAndOneLineSaysSo) {
    EXPECT_EQ(StartupDiagnostics::linuxFolder("/state", "/home/reader"), fs::path("/state/Brisel"));
    EXPECT_EQ(StartupDiagnostics::linuxFolder("state", "/home/reader"), fs::path("/home/reader/.local/state/Brisel"));
    EXPECT_EQ(StartupDiagnostics::linuxFolder(nullptr, "/home/reader"), fs::path("/home/reader/.local/state/Brisel"));
    EXPECT_EQ(StartupDiagnostics::linuxFolder(nullptr, nullptr), std::nullopt);
    EXPECT_EQ(StartupDiagnostics::linuxFolder("", ""), std::nullopt);

    ::testing::internal::CaptureStderr();
    StartupDiagnostics log(std::nullopt);
    log.write("launch");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), texts::diagnosticsUnavailable);
    EXPECT_FALSE(log.isOpen());
}

TEST_F(StartupDiagnosticsTest, LinesFromManyThreadsStayWhole) {
    auto log = open();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&log, t] {
            for (int i = 0; i < 50; ++i) log.write("thread", {{"t", t}, {"pad", std::string(200, 'a')}});
        });
    }
    for (auto& thread : threads) thread.join();
    const std::string text = readFile(logFile());
    const std::string line = json{{"elapsedMs", 0}, {"event", "thread"}, {"pad", std::string(200, 'a')}, {"t", 0}}.dump() + "\n";
    EXPECT_EQ(text.size(), 200 * line.size());
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 200);
}

}  // namespace
}  // namespace brisel
