#include <TarnwickLib/Image/PixelType.h>

#include <array>

namespace Tarnwick {

namespace {

constexpr std::array<PixelType, 8> allPixelTypes = {PixelType::Int8,   PixelType::UInt8, PixelType::Int16,
                                                    PixelType::UInt16, PixelType::Int32, PixelType::UInt32,
                                                    PixelType::Float,  PixelType::Double};

} // namespace

bool isValidPixelType(int code) {
    for (PixelType type : allPixelTypes)
        if (static_cast<int>(type) == code)
            return true;
    return false;
}

std::size_t pixelTypeSize(PixelType type) {
    if (!isValidPixelType(static_cast<int>(type)))
        return 0;
    return dispatchPixelType(type, [](auto tag) { return sizeof(typename decltype(tag)::type); });
}

const char* pixelTypeName(PixelType type) {
    switch (type) {
    case PixelType::Int8:
        return "int8";
    case PixelType::UInt8:
        return "uint8";
    case PixelType::Int16:
        return "int16";
    case PixelType::UInt16:
        return "uint16";
    case PixelType::Int32:
        return "int32";
    case PixelType::UInt32:
        return "uint32";
    case PixelType::Float:
        return "float";
    case PixelType::Double:
        return "double";
    }
    return "invalid";
}

bool pixelTypeFromName(const std::string& name, PixelType& type) {
    for (PixelType candidate : allPixelTypes) {
        if (name == pixelTypeName(candidate)) {
            type = candidate;
            return true;
        }
    }
    return false;
}

} // namespace Tarnwick
