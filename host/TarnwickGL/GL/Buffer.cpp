#include <TarnwickGL/GL/Buffer.h>

#include <cstring>

namespace Tarnwick::GL {

namespace {

// Binds `id` to a copy target for the scope and restores that target's previous binding.
class CopyBinding {
public:
    CopyBinding(GLenum target, GLenum query, GLuint id) : m_target(target) {
        glGetIntegerv(query, &m_previous);
        glBindBuffer(m_target, id);
    }
    ~CopyBinding() { glBindBuffer(m_target, static_cast<GLuint>(m_previous)); }
    CopyBinding(const CopyBinding&) = delete;
    CopyBinding& operator=(const CopyBinding&) = delete;

private:
    GLenum m_target;
    GLint m_previous = 0;
};

} // namespace

Buffer::Buffer(GLenum target) : m_target(target) {
    glGenBuffers(1, &m_id);
}

Buffer::~Buffer() {
    glDeleteBuffers(1, &m_id);
}

void Buffer::setData(const void* data, std::size_t bytes, GLenum usage) {
    const CopyBinding binding(GL_COPY_WRITE_BUFFER, GL_COPY_WRITE_BUFFER_BINDING, m_id);
    glBufferData(GL_COPY_WRITE_BUFFER, static_cast<GLsizeiptr>(bytes), data, usage);
    m_size = bytes;
}

bool Buffer::setSubData(const void* data, std::size_t bytes, std::size_t offset) {
    if (offset > m_size || bytes > m_size - offset)
        return false;
    if (bytes == 0)
        return true;
    const CopyBinding binding(GL_COPY_WRITE_BUFFER, GL_COPY_WRITE_BUFFER_BINDING, m_id);
    glBufferSubData(GL_COPY_WRITE_BUFFER, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(bytes), data);
    return true;
}

bool Buffer::download(void* out, std::size_t bytes, std::size_t offset) const {
    if (offset > m_size || bytes > m_size - offset)
        return false;
    if (bytes == 0)
        return true;
    const CopyBinding binding(GL_COPY_READ_BUFFER, GL_COPY_READ_BUFFER_BINDING, m_id);
    glGetBufferSubData(GL_COPY_READ_BUFFER, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(bytes), out);
    return true;
}

void Buffer::bind() const {
    glBindBuffer(m_target, m_id);
}

void Buffer::bindBase(GLuint index) const {
    glBindBufferBase(m_target, index, m_id);
}

} // namespace Tarnwick::GL
