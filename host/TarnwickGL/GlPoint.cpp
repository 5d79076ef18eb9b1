#include <TarnwickGL/GlPoint.h>

#include <TarnwickGL/GL/FixedFunctionPipeline.h>
#include <TarnwickGL/GL/StateGuard.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlView.h>

#include <Eigen/Geometry>

namespace Tarnwick {

GlPoint::GlPoint(const Eigen::Vector3d& position, const Eigen::Vector4f& color, float diameter)
    : m_position(position), m_color(color), m_diameter(diameter) {}
GlPoint::~GlPoint() = default;

Geometry::AlignedBox GlPoint::bounds() const {
    Geometry::AlignedBox box;
    box.addPoint((modelMatrix() * m_position.homogeneous()).head<3>());
    return box;
}

void GlPoint::draw(const GlView& view) {
    if (!m_buffer)
        m_buffer = std::make_unique<GL::VertexBuffer>();
    const Eigen::Vector3f p = m_position.cast<float>();
    m_buffer->setVertices({{{p.x(), p.y(), p.z()}, {m_color[0], m_color[1], m_color[2], m_color[3]}}});

    GL::StateGuard guard;
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    GL::FixedFunctionPipeline& pipeline = view.pipeline();
    pipeline.enable(view);
    pipeline.setModelMatrix(modelMatrix());
    pipeline.setPointSmooth(true);
    pipeline.setPointSize(m_diameter);
    pipeline.draw(*m_buffer, GL_POINTS);
    pipeline.disable();
}

} // namespace Tarnwick
