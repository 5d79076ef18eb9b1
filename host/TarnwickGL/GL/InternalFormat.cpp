#include <TarnwickGL/GL/InternalFormat.h>

namespace Tarnwick::GL {

const InternalFormat InternalFormat::R8{GL_R8, GL_RED, GL_UNSIGNED_BYTE};
const InternalFormat InternalFormat::R32UI{GL_R32UI, GL_RED_INTEGER, GL_UNSIGNED_INT};
const InternalFormat InternalFormat::RGBA8{GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE};
const InternalFormat InternalFormat::R32F{GL_R32F, GL_RED, GL_FLOAT};

int InternalFormat::channels() const {
    switch (format) {
    case GL_RG:
    case GL_RG_INTEGER:
        return 2;
    case GL_RGB:
    case GL_RGB_INTEGER:
        return 3;
    case GL_RGBA:
    case GL_RGBA_INTEGER:
        return 4;
    default:
        return 1;
    }
}

std::size_t InternalFormat::bytesPerPixel() const {
    std::size_t bytes = 4;
    switch (type) {
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
        bytes = 1;
        break;
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
        bytes = 2;
        break;
    default:
        break;
    }
    return bytes * static_cast<std::size_t>(channels());
}

bool InternalFormat::isInteger() const {
    return format == GL_RED_INTEGER || format == GL_RG_INTEGER || format == GL_RGB_INTEGER || format == GL_RGBA_INTEGER;
}

std::optional<InternalFormat> InternalFormat::forPixelType(int hostPixelType, int channels) {
    if (channels < 1 || channels > 4)
        return std::nullopt;
    const int c = channels - 1;
    const GLenum normalized[4] = {GL_RED, GL_RG, GL_RGB, GL_RGBA};
    const GLenum integer[4] = {GL_RED_INTEGER, GL_RG_INTEGER, GL_RGB_INTEGER, GL_RGBA_INTEGER};
    switch (hostPixelType) {
    case 5120: {
        const GLenum internal[4] = {GL_R8_SNORM, GL_RG8_SNORM, GL_RGB8_SNORM, GL_RGBA8_SNORM};
        return InternalFormat{internal[c], normalized[c], GL_BYTE};
    }
    case 5121: {
        const GLenum internal[4] = {GL_R8, GL_RG8, GL_RGB8, GL_RGBA8};
        return InternalFormat{internal[c], normalized[c], GL_UNSIGNED_BYTE};
    }
    case 5122: {
        const GLenum internal[4] = {GL_R16_SNORM, GL_RG16_SNORM, GL_RGB16_SNORM, GL_RGBA16_SNORM};
        return InternalFormat{internal[c], normalized[c], GL_SHORT};
    }
    case 5123: {
        const GLenum internal[4] = {GL_R16, GL_RG16, GL_RGB16, GL_RGBA16};
        return InternalFormat{internal[c], normalized[c], GL_UNSIGNED_SHORT};
    }
    case 5124: {
        const GLenum internal[4] = {GL_R32I, GL_RG32I, GL_RGB32I, GL_RGBA32I};
        return InternalFormat{internal[c], integer[c], GL_INT};
    }
    case 5125: {
        const GLenum internal[4] = {GL_R32UI, GL_RG32UI, GL_RGB32UI, GL_RGBA32UI};
        return InternalFormat{internal[c], integer[c], GL_UNSIGNED_INT};
    }
    case 5126: {
        const GLenum internal[4] = {GL_R32F, GL_RG32F, GL_RGB32F, GL_RGBA32F};
        return InternalFormat{internal[c], normalized[c], GL_FLOAT};
    }
    default:
        return std::nullopt;
    }
}

bool operator==(const InternalFormat& a, const InternalFormat& b) {
    return a.internal == b.internal && a.format == b.format && a.type == b.type;
}

} // namespace Tarnwick::GL
