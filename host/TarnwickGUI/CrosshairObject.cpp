#include <TarnwickGUI/CrosshairObject.h>

#include <TarnwickGL/GL/FixedFunctionPipeline.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlSliceView.h>

#include <vector>

namespace Tarnwick {

namespace {
const Eigen::Vector4f lineColor(0.4f, 0.9f, 0.4f, 1.0f);

GL::Vertex vertex(const Eigen::Vector3d& position) {
    GL::Vertex v{};
    for (int i = 0; i < 3; ++i)
        v.position[i] = float(position[i]);
    for (int i = 0; i < 4; ++i)
        v.color[i] = lineColor[i];
    return v;
}
} // namespace

CrosshairObject::CrosshairObject() = default;
CrosshairObject::~CrosshairObject() = default;

void CrosshairObject::draw(const GlView& view) {
    const auto* slice = dynamic_cast<const GlSliceView*>(&view);
    if (!slice)
        return;
    // Long enough to cross the whole view at any zoom.
    const double halfLength = slice->pixelSize() * (view.width() + view.height());
    const Eigen::Vector3d right = slice->rightDir() * halfLength;
    const Eigen::Vector3d up = slice->upDir() * halfLength;
    if (!m_lines)
        m_lines = std::make_unique<GL::VertexBuffer>();
    m_lines->setVertices(
        {vertex(m_position - right), vertex(m_position + right), vertex(m_position - up), vertex(m_position + up)});
    GL::FixedFunctionPipeline& pipeline = view.pipeline();
    pipeline.enable(view);
    pipeline.draw(*m_lines, GL_LINES);
    pipeline.disable();
}

} // namespace Tarnwick
