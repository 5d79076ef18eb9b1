#include <TarnwickGL/GL/StateGuard.h>

namespace Tarnwick::GL {

StateGuard::StateGuard() {
    for (std::size_t i = 0; i < kCaps.size(); ++i)
        m_enabled[i] = glIsEnabled(kCaps[i]);
    glGetIntegerv(GL_BLEND_SRC_RGB, &m_blend[0]);
    glGetIntegerv(GL_BLEND_DST_RGB, &m_blend[1]);
    glGetIntegerv(GL_BLEND_SRC_ALPHA, &m_blend[2]);
    glGetIntegerv(GL_BLEND_DST_ALPHA, &m_blend[3]);
    glGetIntegerv(GL_CURRENT_PROGRAM, &m_program);
    glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &m_vertexArray);
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &m_arrayBuffer);
    glGetFloatv(GL_LINE_WIDTH, &m_lineWidth);
    glGetIntegerv(GL_VIEWPORT, m_viewport);
    glGetBooleanv(GL_DEPTH_WRITEMASK, &m_depthMask);
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &m_drawFramebuffer);
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &m_readFramebuffer);
}

StateGuard::~StateGuard() {
    for (std::size_t i = 0; i < kCaps.size(); ++i)
        m_enabled[i] ? glEnable(kCaps[i]) : glDisable(kCaps[i]);
    glBlendFuncSeparate(static_cast<GLenum>(m_blend[0]), static_cast<GLenum>(m_blend[1]),
                        static_cast<GLenum>(m_blend[2]), static_cast<GLenum>(m_blend[3]));
    glUseProgram(static_cast<GLuint>(m_program));
    glBindVertexArray(static_cast<GLuint>(m_vertexArray));
    glBindBuffer(GL_ARRAY_BUFFER, static_cast<GLuint>(m_arrayBuffer));
    glLineWidth(m_lineWidth);
    glViewport(m_viewport[0], m_viewport[1], m_viewport[2], m_viewport[3]);
    glDepthMask(m_depthMask);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(m_drawFramebuffer));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(m_readFramebuffer));
}

} // namespace Tarnwick::GL
