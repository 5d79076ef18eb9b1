#include <TarnwickGL/GL/Texture.h>

#include <epoxy/gl.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tarnwick::GL {

namespace {

GLenum bindingQuery(GLenum target) {
    switch (target) {
    case GL_TEXTURE_1D:
        return GL_TEXTURE_BINDING_1D;
    case GL_TEXTURE_2D:
        return GL_TEXTURE_BINDING_2D;
    default:
        return GL_TEXTURE_BINDING_3D;
    }
}

// Binds a texture on the active unit for the scope, and the unit's previous texture again afterwards; also
// makes transfers read and write client memory with tight rows (no pixel buffer bound, alignment 1) and
// restores those settings.
class ScopedTexture {
public:
    ScopedTexture(GLenum target, GLuint id) : m_target(target) {
        glGetIntegerv(bindingQuery(target), &m_previous);
        glGetIntegerv(GL_UNPACK_ALIGNMENT, &m_unpack);
        glGetIntegerv(GL_PACK_ALIGNMENT, &m_pack);
        glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &m_unpackBuffer);
        glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &m_packBuffer);
        glBindTexture(target, id);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
    }
    ~ScopedTexture() {
        glBindTexture(m_target, static_cast<GLuint>(m_previous));
        glPixelStorei(GL_UNPACK_ALIGNMENT, m_unpack);
        glPixelStorei(GL_PACK_ALIGNMENT, m_pack);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(m_unpackBuffer));
        glBindBuffer(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(m_packBuffer));
    }
    ScopedTexture(const ScopedTexture&) = delete;
    ScopedTexture& operator=(const ScopedTexture&) = delete;

private:
    GLenum m_target;
    GLint m_previous = 0;
    GLint m_unpack = 4;
    GLint m_pack = 4;
    GLint m_unpackBuffer = 0;
    GLint m_packBuffer = 0;
};

// Drops pending errors so that the next glGetError() reports the following call (bounded: a lost context
// may keep reporting).
void clearErrors() {
    for (int i = 0; i < 16 && glGetError() != GL_NO_ERROR; ++i) {
    }
}

} // namespace

Texture::Texture(GLenum target, const InternalFormat& format, const Eigen::Vector3i& dims)
    : m_target(target), m_format(format), m_dims(dims) {
    if (target != GL_TEXTURE_1D && target != GL_TEXTURE_2D && target != GL_TEXTURE_3D)
        throw std::invalid_argument("texture target must be GL_TEXTURE_1D, GL_TEXTURE_2D or GL_TEXTURE_3D");
    const int usedAxes = target == GL_TEXTURE_1D ? 1 : target == GL_TEXTURE_2D ? 2 : 3;
    for (int axis = 0; axis < 3; ++axis) {
        if (axis < usedAxes ? dims[axis] < 1 : dims[axis] != 1)
            throw std::invalid_argument("invalid texture dimensions " + std::to_string(dims.x()) + "x" +
                                        std::to_string(dims.y()) + "x" + std::to_string(dims.z()));
    }
    clearErrors();
    glGenTextures(1, &m_id);
    const ScopedTexture scope(m_target, m_id);
    if (target == GL_TEXTURE_1D)
        glTexStorage1D(target, 1, format.internal, dims.x());
    else if (target == GL_TEXTURE_2D)
        glTexStorage2D(target, 1, format.internal, dims.x(), dims.y());
    else
        glTexStorage3D(target, 1, format.internal, dims.x(), dims.y(), dims.z());
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        glDeleteTextures(1, &m_id);
        throw std::runtime_error("cannot allocate a " + std::to_string(dims.x()) + "x" + std::to_string(dims.y()) +
                                 "x" + std::to_string(dims.z()) + " texture (GL error " + std::to_string(error) + ")");
    }
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_R, GL_CLAMP_TO_EDGE);
}

Texture::~Texture() {
    glDeleteTextures(1, &m_id);
}

std::size_t Texture::byteSize() const {
    return static_cast<std::size_t>(m_dims.x()) * static_cast<std::size_t>(m_dims.y()) *
           static_cast<std::size_t>(m_dims.z()) * m_format.bytesPerPixel();
}

void Texture::upload(const void* data) {
    const ScopedTexture scope(m_target, m_id);
    if (m_target == GL_TEXTURE_1D)
        glTexSubImage1D(m_target, 0, 0, m_dims.x(), m_format.format, m_format.type, data);
    else if (m_target == GL_TEXTURE_2D)
        glTexSubImage2D(m_target, 0, 0, 0, m_dims.x(), m_dims.y(), m_format.format, m_format.type, data);
    else
        glTexSubImage3D(m_target, 0, 0, 0, 0, m_dims.x(), m_dims.y(), m_dims.z(), m_format.format, m_format.type, data);
}

void Texture::clear(const void* value) {
    if (epoxy_gl_version() >= 44 || epoxy_has_gl_extension("GL_ARB_clear_texture")) {
        glClearTexImage(m_id, 0, m_format.format, m_format.type, value);
        return;
    }
    // OpenGL 4.3 without the clear extension: upload a filled copy.
    const std::size_t pixelBytes = m_format.bytesPerPixel();
    std::vector<unsigned char> filled(byteSize());
    for (std::size_t offset = 0; offset < filled.size(); offset += pixelBytes)
        std::memcpy(filled.data() + offset, value, pixelBytes);
    upload(filled.data());
}

bool Texture::download(void* out, std::size_t bytes) const {
    if (bytes < byteSize())
        return false;
    const ScopedTexture scope(m_target, m_id);
    glGetTexImage(m_target, 0, m_format.format, m_format.type, out);
    return true;
}

void Texture::bindImage(GLuint unit, GLenum access) const {
    glBindImageTexture(unit, m_id, 0, m_target == GL_TEXTURE_3D ? GL_TRUE : GL_FALSE, 0, access, m_format.internal);
}

void Texture::bind(GLuint unit) const {
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(m_target, m_id);
}

void Texture::setFilter(GLenum filter) {
    const ScopedTexture scope(m_target, m_id);
    glTexParameteri(m_target, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(filter));
    glTexParameteri(m_target, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(filter));
}

} // namespace Tarnwick::GL
