#include "app/startup_diagnostics.h"

#include <sys/stat.h>

#include <cmath>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "fakes/temp_dir.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::TempDir;
using testing::readFile;

class StartupDiagnosticsTest : public ::testing::Test {
protected:
    std::filesystem::path folder() const { return home / "Library/Logs/Brisel"; }
    std::filesystem::path logFile() const { return folder() / "startup.log"; }

    StartupDiagnostics open() {
        return StartupDiagnostics(folder(), [this] { return now; });
    }

    std::vector<json> lines() const {
        std::vector<json> parsed;
        std::istringstream in(readFile(logFile()));
        for (std::string line; std::getline(in, line);) parsed.push_back(json::parse(line));
        return parsed;
    }

    // The bytes a line takes for an event "e" whose "pad" field holds `pad` characters.
    static int64_t lineLength(size_t pad) {
        return static_cast<int64_t>(json{{"elapsedMs", 0}, {"event", "e"}, {"pad", std::string(pad, 'x')}}.dump().size() + 1);
    }

    TempDir home;
    Clock::time_point now{};
};

TEST_F(StartupDiagnosticsTest, WritesOneSortedLinePerEventWithItsOwnEventAndElapsedKeys) {
    auto log = open();
    now += std::chrono::microseconds(1'999'999);
    log.write("launch", {{"pid", 4242}, {"event", "forged"}, {"elapsedMs", -1}, {"alpha", true}});

    const std::string text = readFile(logFile());
    EXPECT_EQ(text, "{\"alpha\":true,\"elapsedMs\":1999,\"event\":\"launch\",\"pid\":4242}\n");
}

TEST_F(StartupDiagnosticsTest, CreatesAPrivateFolderAndFileAndEmptiesThePreviousRun) {
    {
        auto previous = open();
        previous.write("previous-run");
    }
    ASSERT_NE(readFile(logFile()), "");
    auto log = open();
    ASSERT_TRUE(log.isOpen());
    EXPECT_EQ(readFile(logFile()), "");

    struct stat info {};
    ASSERT_EQ(::stat(folder().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    ASSERT_EQ(::stat(logFile().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    ASSERT_EQ(::stat((home / "Library").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u) << "intermediate folders are private too";
}

TEST_F(StartupDiagnosticsTest, StopsWritingAtSixtySeconds) {
    auto log = open();
    now += std::chrono::milliseconds(59'999);
    log.write("last");
    now += std::chrono::milliseconds(1);
    log.write("too-late");

    const auto written = lines();
    ASSERT_EQ(written.size(), 1u);
    EXPECT_EQ(written[0]["event"], "last");
    EXPECT_EQ(written[0]["elapsedMs"], 59'999);
}

TEST_F(StartupDiagnosticsTest, WritesUpToExactly65536BytesAndOnlyWholeLines) {
    auto log = open();
    // Fill to 60,000 bytes with lines of 1,000 bytes.
    const size_t thousand = 1000 - static_cast<size_t>(lineLength(0));
    for (int i = 0; i < 60; ++i) log.write("e", {{"pad", std::string(thousand, 'x')}});
    ASSERT_EQ(std::filesystem::file_size(logFile()), 60'000u);

    // One byte too many is dropped whole...
    const size_t toLimit = 5'536 - static_cast<size_t>(lineLength(0));
    log.write("e", {{"pad", std::string(toLimit + 1, 'x')}});
    EXPECT_EQ(std::filesystem::file_size(logFile()), 60'000u);
    // ...while a later, shorter line that ends exactly at the limit is written.
    log.write("e", {{"pad", std::string(toLimit, 'x')}});
    EXPECT_EQ(std::filesystem::file_size(logFile()), 65'536u);

    log.write("e");
    EXPECT_EQ(std::filesystem::file_size(logFile()), 65'536u);
    for (const auto& line : lines()) EXPECT_EQ(line["event"], "e");
}

TEST_F(StartupDiagnosticsTest, DropsLinesThatCannotBeSerialised) {
    auto log = open();
    log.write("nan", {{"value", std::nan("")}});
    log.write("infinite", {{"nested", {{"value", HUGE_VAL}}}});
    log.write("bad-utf8", {{"value", std::string("\xC3\x28")}});
    log.write("not-an-object", json::array({1, 2}));
    log.write("fine", {{"value", 1.5}});

    const auto written = lines();
    ASSERT_EQ(written.size(), 1u);
    EXPECT_EQ(written[0]["event"], "fine");
}

TEST_F(StartupDiagnosticsTest, AnUnwritableHomeSaysSoOnStandardErrorAndKeepsWorking) {
    testing::writeFile(home / "Library", "a file where the folder should be");
    ::testing::internal::CaptureStderr();
    auto log = open();
    log.write("launch", {{"pid", 1}});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Brisel startup diagnostics could not be opened.\n");
    EXPECT_FALSE(log.isOpen());
    EXPECT_FALSE(std::filesystem::exists(logFile()));
}

TEST_F(StartupDiagnosticsTest, LinesFromManyThreadsStayWhole) {
    auto log = open();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&log, t] {
            for (int i = 0; i < 50; ++i) log.write("thread", {{"t", t}, {"i", i}, {"pad", std::string(200, 'a' + t)}});
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(lines().size(), 200u);
}

}  // namespace
}  // namespace brisel
