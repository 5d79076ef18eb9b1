#pragma once

#include <TarnwickGL/GL/InternalFormat.h>

#include <Eigen/Core>
#include <epoxy/gl.h>

#include <cstddef>

namespace Tarnwick::GL {

/// An immutable-storage texture (RAII) of target GL_TEXTURE_1D, GL_TEXTURE_2D or GL_TEXTURE_3D, with
/// nearest filtering and clamp-to-edge wrapping by default. Operations restore the texture binding of the
/// active unit they touch. Create and destroy it with its context current.
class Texture {
public:
    /// Allocates the storage. dims: (width, height, depth); unused axes of 1-D/2-D textures must be 1.
    /// Throws std::invalid_argument for another target or non-positive or unused-but-not-1 dims, and
    /// std::runtime_error when the context cannot allocate it (too large, out of memory).
    Texture(GLenum target, const InternalFormat& format, const Eigen::Vector3i& dims);
    ~Texture();
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;

    /// Replaces the whole content with byteSize() bytes from `data` (format/type of the InternalFormat,
    /// x fastest, then y, then z, tightly packed).
    void upload(const void* data);
    /// Sets every texel to `value`, one pixel in the InternalFormat's format/type.
    void clear(const void* value);
    /// Copies the whole content into `out`. Returns false (copying nothing) when `bytes` < byteSize().
    bool download(void* out, std::size_t bytes) const;

    /// Binds level 0 as image `unit` for image load/store (all layers of a 3-D texture).
    /// access: GL_READ_ONLY, GL_WRITE_ONLY or GL_READ_WRITE.
    void bindImage(GLuint unit, GLenum access) const;
    /// Binds the texture to texture unit `unit` for sampling (leaves that unit active).
    void bind(GLuint unit) const;
    /// Sets minification and magnification filter (GL_NEAREST or GL_LINEAR).
    void setFilter(GLenum filter);

    GLuint id() const { return m_id; }
    GLenum target() const { return m_target; }
    const InternalFormat& format() const { return m_format; }
    const Eigen::Vector3i& dims() const { return m_dims; }
    /// Bytes of the whole content in client memory.
    std::size_t byteSize() const;

private:
    GLenum m_target;
    InternalFormat m_format;
    Eigen::Vector3i m_dims;
    GLuint m_id = 0;
};

} // namespace Tarnwick::GL
