#pragma once

#include <epoxy/gl.h>

#include <cstddef>

namespace Tarnwick::GL {

/// A GL buffer object (RAII) for one binding target (GL_ARRAY_BUFFER, GL_SHADER_STORAGE_BUFFER, ...).
/// Uploads and downloads go through GL_COPY_WRITE_BUFFER / GL_COPY_READ_BUFFER, so they never change the
/// binding of the buffer's own target (nor a VAO's element buffer). Create and destroy it with its
/// context current.
class Buffer {
public:
    explicit Buffer(GLenum target);
    virtual ~Buffer();
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    /// Replaces the content: `bytes` bytes from `data` (uninitialised storage when data is null).
    void setData(const void* data, std::size_t bytes, GLenum usage = GL_STATIC_DRAW);
    /// Overwrites `bytes` bytes at `offset` with `data`, keeping the storage. Returns false (writing nothing)
    /// when the range lies outside the buffer.
    bool setSubData(const void* data, std::size_t bytes, std::size_t offset = 0);
    /// Copies `bytes` bytes from offset `offset` into `out`. Returns false (copying nothing) when the range
    /// lies outside the buffer.
    bool download(void* out, std::size_t bytes, std::size_t offset = 0) const;

    /// Binds the buffer to its target.
    void bind() const;
    /// Binds the buffer to an indexed binding point of its target (shader storage, uniform, ...).
    void bindBase(GLuint index) const;

    GLuint id() const { return m_id; }
    GLenum target() const { return m_target; }
    /// Size of the content in bytes.
    std::size_t size() const { return m_size; }

private:
    GLenum m_target;
    GLuint m_id = 0;
    std::size_t m_size = 0;
};

} // namespace Tarnwick::GL
