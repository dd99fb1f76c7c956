#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <system_error>

namespace brisel {

// Writes `bytes` to `destination` so that it holds either its old contents or all of the new
// ones, never a part: a hidden temporary file in the same folder is written, flushed to disk
// and renamed over the destination (replacing an existing file). On failure the temporary
// file is removed and the destination is left untouched. The new file gets the usual
// permissions (0666 less the umask). Returns the first error, or an empty code.
std::error_code writeFileAtomically(const std::filesystem::path& destination, std::span<const std::uint8_t> bytes);

}  // namespace brisel
