#pragma once

#include <epoxy/gl.h>

#include <cstdint>
#include <vector>

namespace Tarnwick::GL {

/// An offscreen render target (RAII): RGBA8 colour and 24-bit depth renderbuffers, multisampled when
/// samples > 0 (clamped to GL_MAX_SAMPLES). Create and destroy it with its context current.
class Framebuffer {
public:
    /// Throws std::invalid_argument for a non-positive size or one above GL_MAX_RENDERBUFFER_SIZE, and
    /// std::runtime_error when the framebuffer is incomplete.
    Framebuffer(int width, int height, int samples = 0);
    ~Framebuffer();
    Framebuffer(const Framebuffer&) = delete;
    Framebuffer& operator=(const Framebuffer&) = delete;

    /// Binds it as draw and read framebuffer and sets the viewport to its size.
    void bind() const;
    /// The colour content as RGBA bytes, width*height*4, rows from top to bottom (multisampled content is
    /// resolved first). Leaves the framebuffer bindings as they were.
    std::vector<std::uint8_t> readPixels() const;

    int width() const { return m_width; }
    int height() const { return m_height; }
    /// Samples actually used (0 without multisampling).
    int samples() const { return m_samples; }
    GLuint id() const { return m_framebuffer; }

private:
    void release();

    int m_width;
    int m_height;
    int m_samples = 0;
    GLuint m_framebuffer = 0;
    GLuint m_color = 0;
    GLuint m_depth = 0;
    // Single-sample target multisampled content is resolved into (only when samples > 0).
    GLuint m_resolveFramebuffer = 0;
    GLuint m_resolveColor = 0;
};

} // namespace Tarnwick::GL
