#pragma once

#include <TarnwickGL/GL/Buffer.h>

#include <epoxy/gl.h>

#include <cstddef>
#include <vector>

namespace Tarnwick::GL {

/// One vertex record of VertexBuffer: position (attribute 0, 3 floats) and RGBA colour (attribute 1, 4 floats).
struct Vertex {
    float position[3];
    float color[4];
};

/// Vertices with a vertex array object that feeds attribute 0 (position) and 1 (colour) from them.
/// A VAO belongs to the context it was made in: use the buffer only there.
class VertexBuffer {
public:
    VertexBuffer();
    ~VertexBuffer();
    VertexBuffer(const VertexBuffer&) = delete;
    VertexBuffer& operator=(const VertexBuffer&) = delete;

    /// Replaces the vertices; reuses the storage when it is large enough.
    void setVertices(const std::vector<Vertex>& vertices);
    /// Allocates storage for `count` vertices (keeping none of the content) so that later setVertices()
    /// calls up to that size do not reallocate.
    void reserve(std::size_t count);
    /// Number of vertices set.
    std::size_t size() const { return m_count; }

    /// Binds the vertex array object.
    void bind() const;
    /// Binds the vertex array object and draws all vertices with `mode` (GL_POINTS, GL_LINES, GL_TRIANGLES...).
    /// Nothing happens when there are no vertices.
    void draw(GLenum mode) const;

private:
    GLuint m_vao = 0;
    Buffer m_buffer{GL_ARRAY_BUFFER};
    std::size_t m_count = 0;
    std::size_t m_capacity = 0;
};

} // namespace Tarnwick::GL
