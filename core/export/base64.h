#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace brisel {

// An allocator whose resize leaves new bytes uninitialised: a 32 MiB archive is decoded
// straight into its buffer, so zero-filling it first would only cost time.
template <typename T>
struct UninitializedAllocator : std::allocator<T> {
    using std::allocator<T>::allocator;
    template <typename U>
    struct rebind {
        using other = UninitializedAllocator<U>;
    };
    template <typename U>
    void construct(U* place) noexcept(std::is_nothrow_default_constructible_v<U>) {
        ::new (static_cast<void*>(place)) U;
    }
    template <typename U, typename... Arguments>
    void construct(U* place, Arguments&&... arguments) {
        ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
    }
};

using ByteBuffer = std::vector<std::uint8_t, UninitializedAllocator<std::uint8_t>>;

// The number of bytes `text` decodes to, read from its length and padding alone; absent when
// the length is not a multiple of four. Says nothing about the characters in between.
std::optional<std::size_t> base64DecodedSize(std::string_view text);

// Standard base64 (RFC 4648 alphabet with "+" and "/"), strictly: the length is a multiple of
// four, padding is one or two "=" closing the last group only, the bits that padding leaves
// over are zero, and any other byte (white space and line breaks included) fails the whole
// text. The result's capacity is exactly its size.
std::optional<ByteBuffer> decodeBase64(std::string_view text);

}  // namespace brisel
