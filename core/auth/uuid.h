#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace brisel {

// Fresh UUIDs in text form; a test passes a counter so attempts are predictable.
using UUIDSource = std::function<std::string()>;

// True for "8-4-4-4-12" hexadecimal digits in either case, the form Foundation's
// UUID(uuidString:) reads.
bool isUUIDString(std::string_view text);

// A random (version 4) UUID, upper-case like Foundation's uuidString.
std::string randomUUIDString();

}  // namespace brisel
