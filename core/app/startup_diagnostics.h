#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/main_queue.h"

namespace brisel {

// The bounded start-up log: one JSON line per event with sorted keys, only in the first
// 60 seconds and the first 65,536 bytes of a run, synced line by line so that a crash right
// after an event still leaves its line. It never records message texts, URLs or page content:
// callers pass only names, codes and measurements.
class StartupDiagnostics {
public:
    static constexpr int64_t maximumBytes = 0x10000;
    static constexpr Duration openPeriod = std::chrono::seconds(60);
    static constexpr const char* fileName = "startup.log";

    // Where Linux keeps a user's logs: $XDG_STATE_HOME/Brisel, else ~/.local/state/Brisel; none
    // without an absolute path for either.
    static std::optional<std::filesystem::path> linuxFolder(const char* xdgStateHome, const char* home);

    // Creates `folder` (0700), empties "startup.log" in it (0600) and keeps it open. An existing
    // folder must be the user's own and 0700, and no link in the folder's or the file's place is
    // followed. Without a folder (no home), or on any failure, it says so once on standard error
    // and every later write does nothing.
    explicit StartupDiagnostics(const std::optional<std::filesystem::path>& folder,
                                std::function<Clock::time_point()> clock = Clock::now);
    ~StartupDiagnostics();
    StartupDiagnostics(const StartupDiagnostics&) = delete;
    StartupDiagnostics& operator=(const StartupDiagnostics&) = delete;

    // Safe from any thread. `fields` is a JSON object; "event" and "elapsedMs" are the log's own.
    void write(const std::string& event, nlohmann::json fields = nlohmann::json::object());

    bool isOpen() const { return fd_ >= 0; }

private:
    std::mutex lock_;
    std::function<Clock::time_point()> clock_;
    Clock::time_point startedAt_;
    int fd_ = -1;
    int64_t bytesWritten_ = 0;
};

}  // namespace brisel
