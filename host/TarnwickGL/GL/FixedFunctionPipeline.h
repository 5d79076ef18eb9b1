#pragma once

#include <TarnwickGL/GL/ProgramCache.h>
#include <TarnwickGL/GL/ViewState.h>

#include <Eigen/Core>
#include <epoxy/gl.h>

namespace Tarnwick {
class GlView;
}

namespace Tarnwick::GL {

class VertexBuffer;

/// Draws VertexBuffer contents the way the legacy fixed-function pipeline did, in a core profile with
/// our own shaders (resources "TarnwickGL/Pipeline*"): model-view-projection transform, per-vertex
/// colour (or one default colour), points of a given pixel size, square or round, and lines of a real
/// width in pixels (a geometry shader expands each segment into a quad), anti-aliased when
/// GL_LINE_SMOOTH is enabled.
///
/// Use: enable(view); set model matrix, colours, sizes; draw(buffer, mode) as often as needed;
/// disable(). The primitive kind picks the program, so draw through the pipeline, not with
/// VertexBuffer::draw alone. Each draw is one call over the whole buffer.
///
/// Blending is the caller's choice (enable GL_BLEND for anti-aliased edges). Needs a current context;
/// destroy the pipeline with it current.
class FixedFunctionPipeline {
public:
    FixedFunctionPipeline();
    ~FixedFunctionPipeline();
    FixedFunctionPipeline(const FixedFunctionPipeline&) = delete;
    FixedFunctionPipeline& operator=(const FixedFunctionPipeline&) = delete;

    /// Starts drawing in `view` with its camera: depth test on (GL_LEQUAL) in the volume view (kind 2)
    /// and off in slice views. Resets model matrix (identity), default colour (white), vertex colours
    /// (on), point size (1), point smoothing (off) and line width (1).
    void enable(const GlView& view);
    /// Same with an explicit camera and depth-test choice.
    void enable(const ViewState& viewState, bool depthTest);
    /// Starts drawing in pixel coordinates of the view (x right, y down, origin at the top-left corner
    /// of the viewport, z ignored), without depth test: for overlays.
    void enablePixelSpace(const GlView& view);
    /// Restores the depth test, program-point-size state and program found by enable().
    void disable();

    void setModelMatrix(const Eigen::Matrix4d& matrix) { m_model = matrix; }
    void setDefaultColor(const Eigen::Vector4f& color) { m_defaultColor = color; }
    /// When off, every vertex takes the default colour instead of its own.
    void setVertexColorEnabled(bool enabled) { m_useVertexColor = enabled; }
    /// Point diameter in pixels.
    void setPointSize(float pixels) { m_pointSize = pixels; }
    /// Round (anti-aliased) points instead of squares.
    void setPointSmooth(bool smooth) { m_pointSmooth = smooth; }
    /// Line width in pixels.
    void setLineWidth(float pixels) { m_lineWidth = pixels; }

    /// The buffer draw(mode) uses.
    void setVertexData(const VertexBuffer& buffer) { m_vertexData = &buffer; }
    /// Draws the buffer set with setVertexData (nothing when none is set).
    void draw(GLenum mode);
    /// Draws all vertices of `buffer` as `mode`: GL_POINTS; GL_LINES, GL_LINE_STRIP or GL_LINE_LOOP;
    /// any triangle mode.
    void draw(const VertexBuffer& buffer, GLenum mode);

    const ViewState& viewState() const { return m_viewState; }

private:
    Program* programFor(GLenum mode);

    ProgramCache m_programs{4};
    ViewState m_viewState;
    Eigen::Matrix4d m_model = Eigen::Matrix4d::Identity();
    Eigen::Vector4f m_defaultColor = Eigen::Vector4f::Ones();
    bool m_useVertexColor = true;
    float m_pointSize = 1.0f;
    bool m_pointSmooth = false;
    float m_lineWidth = 1.0f;
    const VertexBuffer* m_vertexData = nullptr;
    bool m_failed = false; // shaders did not build: logged once, nothing drawn

    // State found by enable(), restored by disable().
    bool m_enabled = false;
    GLboolean m_savedDepthTest = GL_FALSE;
    GLboolean m_savedProgramPointSize = GL_FALSE;
    GLint m_savedProgram = 0;
};

} // namespace Tarnwick::GL
