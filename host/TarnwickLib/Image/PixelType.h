#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace Tarnwick {

/// Scalar type of the values of an image, identified by its OpenGL type code.
///
/// Int8 is stored as `char`, which is signed on the platforms the host supports.
enum class PixelType : int {
    Int8 = 5120,
    UInt8 = 5121,
    Int16 = 5122,
    UInt16 = 5123,
    Int32 = 5124,
    UInt32 = 5125,
    Float = 5126,
    Double = 5130,
};

static_assert(std::is_signed_v<char>, "Int8 images are stored as char, which must be signed");

/// True when `code` is one of the eight pixel type codes.
bool isValidPixelType(int code);

/// Bytes of one value of that type; 0 for an invalid code.
std::size_t pixelTypeSize(PixelType type);

/// Short lower-case name ("uint8", "float", ...); "invalid" for an invalid code.
const char* pixelTypeName(PixelType type);

/// The pixel type whose name (as pixelTypeName returns it) is `name`; false when there is none.
bool pixelTypeFromName(const std::string& name, PixelType& type);

/// Tag carrying a C++ pixel type through a generic lambda: `[](auto tag) { using T = typename decltype(tag)::type; }`.
template <typename T>
struct PixelTag {
    using type = T;
};

/// The pixel type code of a C++ type; only the eight stored types compile.
template <typename T>
constexpr PixelType pixelTypeOf() {
    if constexpr (std::is_same_v<T, char>)
        return PixelType::Int8;
    else if constexpr (std::is_same_v<T, unsigned char>)
        return PixelType::UInt8;
    else if constexpr (std::is_same_v<T, short>)
        return PixelType::Int16;
    else if constexpr (std::is_same_v<T, unsigned short>)
        return PixelType::UInt16;
    else if constexpr (std::is_same_v<T, int>)
        return PixelType::Int32;
    else if constexpr (std::is_same_v<T, unsigned int>)
        return PixelType::UInt32;
    else if constexpr (std::is_same_v<T, float>)
        return PixelType::Float;
    else {
        static_assert(std::is_same_v<T, double>, "not an image pixel type");
        return PixelType::Double;
    }
}

/// Calls `f(PixelTag<T>{})` with the C++ type T of `type` and returns what f returns, so an algorithm
/// is written once as a generic lambda instead of once per type. Throws std::invalid_argument for an
/// invalid code.
template <typename F>
decltype(auto) dispatchPixelType(PixelType type, F&& f) {
    switch (type) {
    case PixelType::Int8:
        return f(PixelTag<char>{});
    case PixelType::UInt8:
        return f(PixelTag<unsigned char>{});
    case PixelType::Int16:
        return f(PixelTag<short>{});
    case PixelType::UInt16:
        return f(PixelTag<unsigned short>{});
    case PixelType::Int32:
        return f(PixelTag<int>{});
    case PixelType::UInt32:
        return f(PixelTag<unsigned int>{});
    case PixelType::Float:
        return f(PixelTag<float>{});
    case PixelType::Double:
        return f(PixelTag<double>{});
    }
    throw std::invalid_argument("invalid pixel type code " + std::to_string(static_cast<int>(type)));
}

} // namespace Tarnwick
