#include "app/startup_diagnostics.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>

#include "app/texts.h"
#include "util/json_text.h"

namespace brisel {

namespace {

// Makes `folder` and any missing folder above it, each owner-only.
bool makeFolders(const std::filesystem::path& folder) {
    if (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return true;
    if (errno != ENOENT || folder.parent_path() == folder) return false;
    return makeFolders(folder.parent_path()) && (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST);
}

// The log's folder, opened without following a link in its place. One this process makes is
// owner-only; one that exists must already be the user's own and private, because whoever else
// can write to it could swap the log for a link to another file.
int openPrivateFolder(const std::filesystem::path& folder) {
    if (folder.has_parent_path() && !makeFolders(folder.parent_path())) return -1;
    const bool made = ::mkdir(folder.c_str(), 0700) == 0;
    if (!made && errno != EEXIST) return -1;
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return -1;
    struct stat info {};
    if (made) ::fchmod(fd, 0700);  // whatever the umask took away
    if (::fstat(fd, &info) != 0 || info.st_uid != ::geteuid() || (info.st_mode & 07777) != 0700) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// An empty file under a fresh random name that no link can stand in for, put in the place of
// the previous run's log; a reader never sees a half-truncated file. Returns its descriptor.
int replaceWithEmptyFile(int folder) {
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        char name[64];
        std::snprintf(name, sizeof name, "%s.%08x%08x", StartupDiagnostics::fileName, random(), random());
        const int fd = ::openat(folder, name, O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd < 0 && errno == EEXIST) continue;
        if (fd < 0) return -1;
        if (::fchmod(fd, 0600) == 0 && ::fsync(fd) == 0 &&
            ::renameat(folder, name, folder, StartupDiagnostics::fileName) == 0) {
            return fd;
        }
        ::unlinkat(folder, name, 0);
        ::close(fd);
        return -1;
    }
    return -1;
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

bool isAbsolute(const char* path) { return path && *path == '/'; }

}  // namespace

std::optional<std::filesystem::path> StartupDiagnostics::linuxFolder(const char* xdgStateHome, const char* home) {
    if (isAbsolute(xdgStateHome)) return std::filesystem::path(xdgStateHome) / "Brisel";
    if (isAbsolute(home)) return std::filesystem::path(home) / ".local/state/Brisel";
    return std::nullopt;
}

StartupDiagnostics::StartupDiagnostics(const std::optional<std::filesystem::path>& folder,
                                       std::function<Clock::time_point()> clock)
    : clock_(std::move(clock)), startedAt_(clock_()) {
    if (folder) {
        const int folderFd = openPrivateFolder(*folder);
        if (folderFd >= 0) {
            fd_ = replaceWithEmptyFile(folderFd);
            ::close(folderFd);
        }
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
    if (!fields.is_object()) return;

    fields["event"] = event;
    fields["elapsedMs"] =
        std::chrono::duration_cast<std::chrono::milliseconds>(clock_() - startedAt_).count();
    auto line = strictJSONText(fields);  // std::map keeps the keys sorted
    if (!line) return;                   // the line disappears whole
    line->push_back('\n');

    const auto length = static_cast<int64_t>(line->size());
    if (bytesWritten_ + length > maximumBytes) return;
    if (writeAll(fd_, *line) && ::fsync(fd_) == 0) bytesWritten_ += length;
}

}  // namespace brisel
