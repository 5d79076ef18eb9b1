#pragma once

#include <epoxy/gl.h>

#include <array>

namespace Tarnwick::GL {

/// Saves GL state on construction and restores it on destruction, so drawing code can change it freely
/// inside a scope: the enabled state of GL_BLEND, GL_DEPTH_TEST, GL_LINE_SMOOTH, GL_CULL_FACE,
/// GL_PROGRAM_POINT_SIZE and GL_SCISSOR_TEST; blend function (separate RGB/alpha factors); current program;
/// vertex array object; GL_ARRAY_BUFFER binding; line width; viewport; depth mask; draw and read framebuffer.
class StateGuard {
public:
    StateGuard();
    ~StateGuard();
    StateGuard(const StateGuard&) = delete;
    StateGuard& operator=(const StateGuard&) = delete;

private:
    static constexpr std::array<GLenum, 6> kCaps = {GL_BLEND,     GL_DEPTH_TEST,         GL_LINE_SMOOTH,
                                                    GL_CULL_FACE, GL_PROGRAM_POINT_SIZE, GL_SCISSOR_TEST};
    std::array<GLboolean, 6> m_enabled{};
    GLint m_blend[4] = {}; // src RGB, dst RGB, src alpha, dst alpha
    GLint m_program = 0;
    GLint m_vertexArray = 0;
    GLint m_arrayBuffer = 0;
    GLfloat m_lineWidth = 1.0f;
    GLint m_viewport[4] = {};
    GLboolean m_depthMask = GL_TRUE;
    GLint m_drawFramebuffer = 0;
    GLint m_readFramebuffer = 0;
};

} // namespace Tarnwick::GL
