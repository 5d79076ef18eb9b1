#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace Tarnwick::HeaderBytes {

// Helpers for parsing binary file headers that must not be trusted.

/// a + b, or UINT64_MAX when that overflows: absurd header values must not wrap into plausible sizes.
inline std::uint64_t addSaturated(std::uint64_t a, std::uint64_t b) {
    std::uint64_t r;
    return __builtin_add_overflow(a, b, &r) ? UINT64_MAX : r;
}

/// a * b, or UINT64_MAX when that overflows.
inline std::uint64_t mulSaturated(std::uint64_t a, std::uint64_t b) {
    std::uint64_t r;
    return __builtin_mul_overflow(a, b, &r) ? UINT64_MAX : r;
}

/// A value of type T at `offset` in `bytes`, byte-swapped when `swap`. The caller checks the bounds.
template <typename T>
T valueAt(const std::string& bytes, std::size_t offset, bool swap) {
    unsigned char raw[sizeof(T)];
    std::memcpy(raw, bytes.data() + offset, sizeof(T));
    if (swap)
        std::reverse(raw, raw + sizeof(T));
    T value;
    std::memcpy(&value, raw, sizeof(T));
    return value;
}

} // namespace Tarnwick::HeaderBytes
