#include "shortcuts/file_key_value_store.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace brisel {

namespace {

bool isAbsolute(const char* path) { return path && path[0] == '/'; }

bool createFolder(const std::filesystem::path& folder) {
    std::filesystem::path partial;
    for (const auto& part : folder) {
        partial /= part;
        if (::mkdir(partial.c_str(), 0700) != 0 && errno != EEXIST) return false;
    }
    struct stat info {};
    return ::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// Makes the rename itself durable.
void syncFolder(const std::filesystem::path& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

FileKeyValueStore::FileKeyValueStore(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::optional<std::filesystem::path> FileKeyValueStore::userFolder(const char* xdgConfigHome, const char* home) {
    if (isAbsolute(xdgConfigHome)) return std::filesystem::path(xdgConfigHome) / "Brisel";
    if (isAbsolute(home)) return std::filesystem::path(home) / ".config" / "Brisel";
    return std::nullopt;
}

std::optional<std::filesystem::path> FileKeyValueStore::fileFor(const std::string& key) const {
    if (key.empty() || key.front() == '.' || key.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        return std::nullopt;
    }
    return folder_ / (key + ".json");
}

std::optional<std::string> FileKeyValueStore::get(const std::string& key) const {
    const auto file = fileFor(key);
    if (!file) return std::nullopt;
    // Non-blocking, so a FIFO planted at the path is refused rather than waited on.
    const int fd = ::open(file->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    std::optional<std::string> bytes;
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        bytes.emplace();
        char buffer[4096];
        for (;;) {
            const ssize_t count = ::read(fd, buffer, sizeof buffer);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) bytes.reset();
            if (count <= 0) break;
            bytes->append(buffer, static_cast<size_t>(count));
        }
    }
    ::close(fd);
    return bytes;
}

bool FileKeyValueStore::set(const std::string& key, std::string_view bytes) {
    const auto file = fileFor(key);
    if (!file || !createFolder(folder_)) return false;
    // The new value goes to a hidden file beside the old one and replaces it in one rename.
    std::string temporary = (folder_ / ("." + key + ".json.XXXXXX")).string();
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) return false;
    bool written = writeAll(fd, bytes) && ::fsync(fd) == 0;
    written = ::close(fd) == 0 && written;
    if (!written || ::rename(temporary.c_str(), file->c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    syncFolder(folder_);
    return true;
}

}  // namespace brisel
