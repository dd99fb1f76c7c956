#pragma once
// What every fuzz target shares: its input as text, and a check that stops the run with a reason.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace brisel::fuzz {

inline std::string_view text(const uint8_t* data, size_t size) { return {reinterpret_cast<const char*>(data), size}; }

inline void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    std::abort();
}

}  // namespace brisel::fuzz
