#pragma once

// Values fixed for the whole product, on every platform.
namespace brisel {

inline constexpr const char* productLocalURL = "http://127.0.0.1:47831";
inline constexpr const char* kindleBundleID = "com.amazon.Lassen";
inline constexpr int maximumKindleSelectionCharacters = 240;  // Unicode scalar values

}  // namespace brisel
