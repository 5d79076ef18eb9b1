#include <TarnwickGL/GL/VertexBuffer.h>

#include <cstddef>

namespace Tarnwick::GL {

VertexBuffer::VertexBuffer() {
    GLint previousVertexArray = 0;
    GLint previousArrayBuffer = 0;
    glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &previousVertexArray);
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &previousArrayBuffer);
    glGenVertexArrays(1, &m_vao);
    glBindVertexArray(m_vao);
    m_buffer.bind();
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                          reinterpret_cast<const void*>(offsetof(Vertex, position)));
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                          reinterpret_cast<const void*>(offsetof(Vertex, color)));
    glBindVertexArray(static_cast<GLuint>(previousVertexArray));
    glBindBuffer(GL_ARRAY_BUFFER, static_cast<GLuint>(previousArrayBuffer));
}

VertexBuffer::~VertexBuffer() {
    glDeleteVertexArrays(1, &m_vao);
}

void VertexBuffer::setVertices(const std::vector<Vertex>& vertices) {
    if (vertices.size() > m_capacity) {
        m_buffer.setData(vertices.data(), vertices.size() * sizeof(Vertex), GL_DYNAMIC_DRAW);
        m_capacity = vertices.size();
    } else {
        m_buffer.setSubData(vertices.data(), vertices.size() * sizeof(Vertex));
    }
    m_count = vertices.size();
}

void VertexBuffer::reserve(std::size_t count) {
    if (count <= m_capacity)
        return;
    m_buffer.setData(nullptr, count * sizeof(Vertex), GL_DYNAMIC_DRAW);
    m_capacity = count;
    m_count = 0;
}

void VertexBuffer::bind() const {
    glBindVertexArray(m_vao);
}

void VertexBuffer::draw(GLenum mode) const {
    if (m_count == 0)
        return;
    bind();
    glDrawArrays(mode, 0, static_cast<GLsizei>(m_count));
}

} // namespace Tarnwick::GL
