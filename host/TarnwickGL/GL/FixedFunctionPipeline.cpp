#include <TarnwickGL/GL/FixedFunctionPipeline.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlView.h>

namespace Tarnwick::GL {

FixedFunctionPipeline::FixedFunctionPipeline() = default;
FixedFunctionPipeline::~FixedFunctionPipeline() = default;

void FixedFunctionPipeline::enable(const GlView& view) {
    enable(view.viewState(), view.kind() == 2);
}

void FixedFunctionPipeline::enable(const ViewState& viewState, bool depthTest) {
    if (!m_enabled) {
        m_savedDepthTest = glIsEnabled(GL_DEPTH_TEST);
        m_savedProgramPointSize = glIsEnabled(GL_PROGRAM_POINT_SIZE);
        glGetIntegerv(GL_CURRENT_PROGRAM, &m_savedProgram);
        m_enabled = true;
    }
    m_viewState = viewState;
    m_model.setIdentity();
    m_defaultColor.setOnes();
    m_useVertexColor = true;
    m_pointSize = 1.0f;
    m_pointSmooth = false;
    m_lineWidth = 1.0f;
    m_vertexData = nullptr;
    if (depthTest) {
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LEQUAL);
    } else {
        glDisable(GL_DEPTH_TEST);
    }
    glEnable(GL_PROGRAM_POINT_SIZE);
}

void FixedFunctionPipeline::enablePixelSpace(const GlView& view) {
    ViewState pixels;
    pixels.viewport = Eigen::Vector4i(0, 0, view.width(), view.height());
    // Pixel (x, y) -> clip (2x/w - 1, 1 - 2y/h).
    pixels.projection.setIdentity();
    pixels.projection(0, 0) = 2.0 / view.width();
    pixels.projection(0, 3) = -1.0;
    pixels.projection(1, 1) = -2.0 / view.height();
    pixels.projection(1, 3) = 1.0;
    pixels.projection(2, 2) = 0.0;
    enable(pixels, false);
}

void FixedFunctionPipeline::disable() {
    if (!m_enabled)
        return;
    (m_savedDepthTest ? glEnable : glDisable)(GL_DEPTH_TEST);
    (m_savedProgramPointSize ? glEnable : glDisable)(GL_PROGRAM_POINT_SIZE);
    glUseProgram(m_savedProgram);
    m_enabled = false;
    m_vertexData = nullptr;
}

Program* FixedFunctionPipeline::programFor(GLenum mode) {
    if (m_failed)
        return nullptr;
    std::string fragment = "TarnwickGL/Pipeline.frag", geometry;
    if (mode == GL_POINTS) {
        fragment = "TarnwickGL/PipelinePoint.frag";
    } else if (mode == GL_LINES || mode == GL_LINE_STRIP || mode == GL_LINE_LOOP) {
        fragment = "TarnwickGL/PipelineLine.frag";
        geometry = "TarnwickGL/PipelineLine.geom";
    }
    std::string error;
    Program* program = m_programs.get("TarnwickGL/Pipeline.vert", fragment, geometry, {}, &error);
    if (!program) {
        m_failed = true;
        TW_LOG_ERROR("Drawing pipeline unavailable: {}", error);
    }
    return program;
}

void FixedFunctionPipeline::draw(GLenum mode) {
    if (m_vertexData)
        draw(*m_vertexData, mode);
}

void FixedFunctionPipeline::draw(const VertexBuffer& buffer, GLenum mode) {
    if (buffer.size() == 0)
        return;
    Program* program = programFor(mode);
    if (!program)
        return;
    const Eigen::Matrix4f mvp = (m_viewState.viewProjection() * m_model).cast<float>();
    const bool smoothLines = glIsEnabled(GL_LINE_SMOOTH);
    program->setUniform("uModelViewProjection", mvp);
    program->setUniform("uDefaultColor", m_defaultColor);
    program->setUniform("uUseVertexColor", m_useVertexColor ? 1 : 0);
    program->setUniform("uPointSize", m_pointSize + (m_pointSmooth ? 1.0f : 0.0f));
    program->setUniform("uPointDiameter", m_pointSize);
    program->setUniform("uSmooth", (mode == GL_POINTS ? m_pointSmooth : smoothLines) ? 1 : 0);
    program->setUniform("uLineWidth", m_lineWidth);
    program->setUniform("uViewportSize",
                        Eigen::Vector2f(float(m_viewState.viewport[2]), float(m_viewState.viewport[3])));
    program->use();
    buffer.draw(mode);
}

} // namespace Tarnwick::GL
