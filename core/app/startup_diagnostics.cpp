#include "app/startup_diagnostics.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>

#include "app/texts.h"

namespace brisel {

namespace {

bool createPrivateFolder(const std::filesystem::path& folder) {
    std::error_code error;
    if (std::filesystem::is_directory(folder, error)) return true;
    if (folder.has_parent_path() && folder.parent_path() != folder &&
        !createPrivateFolder(folder.parent_path())) {
        return false;
    }
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return false;
    return std::filesystem::is_directory(folder, error) && ::chmod(folder.c_str(), 0700) == 0;
}

// Empties the previous run's log by replacing it, so a reader never sees a half-truncated file.
bool replaceWithEmptyFile(const std::filesystem::path& file) {
    const std::filesystem::path temporary = file.string() + ".new";
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    const bool synced = ::fsync(fd) == 0;
    ::close(fd);
    if (!synced || ::rename(temporary.c_str(), file.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    return true;
}

// Foundation refuses NaN and infinity; so does the log, rather than writing them as null.
bool hasOnlyFiniteNumbers(const nlohmann::json& value) {
    if (value.is_number_float()) return std::isfinite(value.get<double>());
    if (value.is_structured()) {
        for (const auto& element : value) {
            if (!hasOnlyFiniteNumbers(element)) return false;
        }
    }
    return true;
}

bool writeAll(int fd, const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

StartupDiagnostics::StartupDiagnostics(const std::filesystem::path& folder,
                                       std::function<Clock::time_point()> clock)
    : clock_(std::move(clock)), startedAt_(clock_()) {
    const std::filesystem::path file = folder / fileName;
    if (createPrivateFolder(folder) && replaceWithEmptyFile(file) &&
        ::chmod(file.c_str(), 0600) == 0) {
        fd_ = ::open(file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    }
    if (fd_ < 0) {
        const std::string message = texts::diagnosticsUnavailable;
        (void)!::write(STDERR_FILENO, message.data(), message.size());
    }
}

StartupDiagnostics::~StartupDiagnostics() {
    if (fd_ >= 0) ::close(fd_);
}

void StartupDiagnostics::write(const std::string& event, nlohmann::json fields) {
    std::lock_guard guard(lock_);
    if (fd_ < 0 || bytesWritten_ >= maximumBytes || clock_() - startedAt_ >= openPeriod) return;
    if (!fields.is_object() || !hasOnlyFiniteNumbers(fields)) return;

    fields["event"] = event;
    fields["elapsedMs"] =
        std::chrono::duration_cast<std::chrono::milliseconds>(clock_() - startedAt_).count();
    std::string line;
    try {
        line = fields.dump();  // std::map keeps the keys sorted
    } catch (const nlohmann::json::exception&) {
        return;  // not UTF-8: the line disappears whole
    }
    line.push_back('\n');

    const auto length = static_cast<int64_t>(line.size());
    if (bytesWritten_ + length > maximumBytes) return;
    if (writeAll(fd_, line) && ::fsync(fd_) == 0) bytesWritten_ += length;
}

}  // namespace brisel
