#include <TarnwickGL/GlCircle.h>

#include <TarnwickGL/GL/FixedFunctionPipeline.h>
#include <TarnwickGL/GL/StateGuard.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlView.h>

#include <Eigen/Geometry>

#include <cmath>

namespace Tarnwick {

namespace {

constexpr double twoPi = 6.28318530717958647692;

Eigen::Vector3d unitCirclePoint(int i) {
    const double angle = twoPi * i / GlCircle::segments;
    return {std::cos(angle), std::sin(angle), 0.0};
}

} // namespace

GlCircle::GlCircle(const Eigen::Matrix4d& circle, const Eigen::Vector4f& color, float lineWidth)
    : m_circle(circle), m_color(color), m_lineWidth(lineWidth) {}
GlCircle::~GlCircle() = default;

Eigen::Matrix4d GlCircle::circleMatrix(const Eigen::Vector3d& center, const Eigen::Vector3d& normal, double radius) {
    const Eigen::Vector3d n = normal.normalized();
    // Any axis not parallel to n gives the first in-plane direction.
    const Eigen::Vector3d helper = std::abs(n.x()) < 0.9 ? Eigen::Vector3d::UnitX() : Eigen::Vector3d::UnitY();
    const Eigen::Vector3d u = n.cross(helper).normalized(), v = n.cross(u);
    Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
    m.block<3, 1>(0, 0) = u * radius;
    m.block<3, 1>(0, 1) = v * radius;
    m.block<3, 1>(0, 2) = n * radius;
    m.block<3, 1>(0, 3) = center;
    return m;
}

Geometry::AlignedBox GlCircle::bounds() const {
    Geometry::AlignedBox box;
    const Eigen::Matrix4d toWorld = modelMatrix() * m_circle;
    for (int i = 0; i < segments; ++i)
        box.addPoint((toWorld * unitCirclePoint(i).homogeneous()).head<3>());
    return box;
}

void GlCircle::draw(const GlView& view) {
    if (!m_buffer) {
        m_buffer = std::make_unique<GL::VertexBuffer>();
        std::vector<GL::Vertex> vertices;
        for (int i = 0; i < segments; ++i) {
            const Eigen::Vector3f p = unitCirclePoint(i).cast<float>();
            vertices.push_back({{p.x(), p.y(), p.z()}, {1, 1, 1, 1}});
        }
        m_buffer->setVertices(vertices);
    }
    GL::StateGuard guard;
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    GL::FixedFunctionPipeline& pipeline = view.pipeline();
    pipeline.enable(view);
    pipeline.setModelMatrix(modelMatrix() * m_circle);
    pipeline.setVertexColorEnabled(false);
    pipeline.setDefaultColor(m_color);
    pipeline.setLineWidth(m_lineWidth);
    pipeline.draw(*m_buffer, GL_LINE_LOOP);
    pipeline.disable();
}

} // namespace Tarnwick
