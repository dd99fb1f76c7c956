#include "export/atomic_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <random>
#include <string>

namespace brisel {

namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

// A name no one else picks: hidden, in the destination's folder so the rename stays on one
// file system, and short whatever the destination's name is.
std::filesystem::path temporarySibling(const std::filesystem::path& folder) {
    static constexpr char digits[] = "0123456789abcdef";
    thread_local std::random_device device;
    std::string name = ".brisel-export-";
    for (int i = 0; i < 3; ++i) {
        const unsigned word = device();
        for (int j = 0; j < 4; ++j) name += digits[(word >> (4 * j)) & 0x0F];
    }
    return folder / (name + ".tmp");
}

std::error_code writeAll(int fd, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        // Some systems refuse single writes above 2 GiB; archives are far smaller, but stay safe.
        const size_t chunk = std::min<size_t>(bytes.size(), size_t{1} << 30);
        const ssize_t written = ::write(fd, bytes.data(), chunk);
        if (written < 0) {
            if (errno == EINTR) continue;
            return lastError();
        }
        bytes = bytes.subspan(static_cast<size_t>(written));
    }
    return {};
}

// fsync on macOS only reaches the drive's cache; F_FULLFSYNC reaches the platter.
int flushToDisk(int fd) {
#if defined(F_FULLFSYNC)
    if (::fcntl(fd, F_FULLFSYNC) == 0) return 0;
#endif
    return ::fsync(fd);
}

}  // namespace

std::error_code writeFileAtomically(const std::filesystem::path& destination, std::span<const std::uint8_t> bytes) {
    if (destination.filename().empty()) return std::make_error_code(std::errc::is_a_directory);
    const std::filesystem::path folder =
        destination.has_parent_path() ? destination.parent_path() : std::filesystem::path(".");

    std::filesystem::path temporary;
    int fd = -1;
    for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
        temporary = temporarySibling(folder);
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) return lastError();
    }
    if (fd < 0) return std::make_error_code(std::errc::file_exists);

    std::error_code error = writeAll(fd, bytes);
    if (!error && flushToDisk(fd) != 0) error = lastError();
    if (::close(fd) != 0 && !error) error = lastError();
    if (!error && ::rename(temporary.c_str(), destination.c_str()) != 0) error = lastError();
    if (error) {
        ::unlink(temporary.c_str());
        return error;
    }

    // The rename itself lives in the folder; flush it too so the new name survives a crash.
    // The data is already safe, so a folder that cannot be opened or flushed is no failure.
    const int folderFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderFd >= 0) {
        ::fsync(folderFd);
        ::close(folderFd);
    }
    return {};
}

}  // namespace brisel
