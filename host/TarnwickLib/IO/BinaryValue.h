#pragma once

#include <istream>
#include <ostream>
#include <type_traits>

namespace Tarnwick {

/// Writes the bytes of `value` as they lie in memory; data files use the machine's own byte order.
template <typename T>
void putValue(std::ostream& out, T value) {
    static_assert(std::is_trivially_copyable_v<T>);
    out.write(reinterpret_cast<const char*>(&value), sizeof(value));
}

/// Reads a value written by `putValue`; false when the stream ends first.
template <typename T>
bool getValue(std::istream& in, T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    return static_cast<bool>(in.read(reinterpret_cast<char*>(&value), sizeof(value)));
}

} // namespace Tarnwick
