#include <TarnwickGL/GL/Framebuffer.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Tarnwick::GL {

namespace {

// Makes a framebuffer with the given renderbuffer attachments; false when it is incomplete.
bool attach(GLuint framebuffer, GLuint color, GLuint depth) {
    GLint previous = 0;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &previous);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
    glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color);
    if (depth)
        glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth);
    const bool complete = glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(previous));
    return complete;
}

GLuint renderbuffer(GLenum format, int samples, int width, int height) {
    GLuint id = 0;
    glGenRenderbuffers(1, &id);
    GLint previous = 0;
    glGetIntegerv(GL_RENDERBUFFER_BINDING, &previous);
    glBindRenderbuffer(GL_RENDERBUFFER, id);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, width, height);
    glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(previous));
    return id;
}

} // namespace

Framebuffer::Framebuffer(int width, int height, int samples) : m_width(width), m_height(height) {
    GLint maxSize = 0;
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &maxSize);
    if (width < 1 || height < 1 || width > maxSize || height > maxSize)
        throw std::invalid_argument("invalid framebuffer size " + std::to_string(width) + "x" + std::to_string(height) +
                                    " (at most " + std::to_string(maxSize) + ")");
    if (samples > 0) {
        GLint maxSamples = 0;
        glGetIntegerv(GL_MAX_SAMPLES, &maxSamples);
        m_samples = std::min(samples, static_cast<int>(maxSamples));
    }
    glGenFramebuffers(1, &m_framebuffer);
    m_color = renderbuffer(GL_RGBA8, m_samples, width, height);
    m_depth = renderbuffer(GL_DEPTH_COMPONENT24, m_samples, width, height);
    bool complete = attach(m_framebuffer, m_color, m_depth);
    if (complete && m_samples > 0) {
        glGenFramebuffers(1, &m_resolveFramebuffer);
        m_resolveColor = renderbuffer(GL_RGBA8, 0, width, height);
        complete = attach(m_resolveFramebuffer, m_resolveColor, 0);
    }
    if (!complete) {
        release();
        throw std::runtime_error("offscreen framebuffer " + std::to_string(width) + "x" + std::to_string(height) +
                                 " is incomplete");
    }
}

Framebuffer::~Framebuffer() {
    release();
}

void Framebuffer::release() {
    const GLuint framebuffers[] = {m_framebuffer, m_resolveFramebuffer};
    const GLuint renderbuffers[] = {m_color, m_depth, m_resolveColor};
    glDeleteFramebuffers(2, framebuffers);
    glDeleteRenderbuffers(3, renderbuffers);
}

void Framebuffer::bind() const {
    glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
    glViewport(0, 0, m_width, m_height);
}

std::vector<std::uint8_t> Framebuffer::readPixels() const {
    GLint previousDraw = 0;
    GLint previousRead = 0;
    GLint previousPackBuffer = 0;
    GLint previousAlignment = 4;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &previousDraw);
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &previousRead);
    glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &previousPackBuffer);
    glGetIntegerv(GL_PACK_ALIGNMENT, &previousAlignment);

    GLuint source = m_framebuffer;
    if (m_samples > 0) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, m_framebuffer);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_resolveFramebuffer);
        glBlitFramebuffer(0, 0, m_width, m_height, 0, 0, m_width, m_height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        source = m_resolveFramebuffer;
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, source);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    const std::size_t rowBytes = static_cast<std::size_t>(m_width) * 4;
    std::vector<std::uint8_t> pixels(rowBytes * static_cast<std::size_t>(m_height));
    glReadPixels(0, 0, m_width, m_height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());

    glPixelStorei(GL_PACK_ALIGNMENT, previousAlignment);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(previousPackBuffer));
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(previousDraw));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(previousRead));

    // GL rows run bottom to top; flip them.
    for (int top = 0, bottom = m_height - 1; top < bottom; ++top, --bottom)
        std::swap_ranges(pixels.begin() + static_cast<std::ptrdiff_t>(top * rowBytes),
                         pixels.begin() + static_cast<std::ptrdiff_t>((top + 1) * rowBytes),
                         pixels.begin() + static_cast<std::ptrdiff_t>(bottom * rowBytes));
    return pixels;
}

} // namespace Tarnwick::GL
