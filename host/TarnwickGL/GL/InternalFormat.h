#pragma once

#include <epoxy/gl.h>

#include <cstddef>
#include <optional>

namespace Tarnwick::GL {

/// A texture's internal format with the pixel format and type of the data uploaded into and read from it.
struct InternalFormat {
    GLenum internal = GL_R8;
    GLenum format = GL_RED;
    GLenum type = GL_UNSIGNED_BYTE;

    /// Number of channels of `format` (1 to 4).
    int channels() const;
    /// Bytes of one pixel in client memory (channels times the size of `type`).
    std::size_t bytesPerPixel() const;
    /// True for integer formats (GL_*_INTEGER), which shaders read through isampler/usampler or iimage/uimage.
    bool isInteger() const;

    /// The format for host image pixels (host pixel-type codes 5120..5126, 1 to 4 interleaved channels):
    /// 8- and 16-bit integers -> normalised formats (R8, R8_SNORM, R16, R16_SNORM and their RG/RGB/RGBA
    /// forms; samplers return [0, 1] or [-1, 1]), 32-bit integers -> R32I/R32UI (integer formats),
    /// float -> R32F. Double (5130) and unknown codes or channel counts give nullopt: convert such
    /// images to float first.
    static std::optional<InternalFormat> forPixelType(int hostPixelType, int channels);

    static const InternalFormat R8;
    static const InternalFormat R32UI;
    static const InternalFormat RGBA8;
    static const InternalFormat R32F;
};

bool operator==(const InternalFormat& a, const InternalFormat& b);

} // namespace Tarnwick::GL
