#pragma once

#include <TarnwickGL/GlObject.h>

#include <memory>

namespace Tarnwick {

namespace GL {
class VertexBuffer;
}

/// A circle outline: the unit circle in the xy plane (64 segments) mapped by a 4x4 matrix (rotation,
/// centre and radius of one circle, as in circleMatrix()), then by the model matrix. Drawn in every
/// view as a line of a width in pixels.
class GlCircle : public GlObject {
public:
    explicit GlCircle(const Eigen::Matrix4d& circle = Eigen::Matrix4d::Identity(),
                      const Eigen::Vector4f& color = Eigen::Vector4f(0, 1, 0, 1), float lineWidth = 2.0f);
    ~GlCircle() override;

    /// The matrix mapping the unit circle onto the circle of `radius` around `center` in the plane
    /// perpendicular to `normal` (any unit vectors completing the frame).
    static Eigen::Matrix4d circleMatrix(const Eigen::Vector3d& center, const Eigen::Vector3d& normal, double radius);
    /// Number of segments of the outline.
    static constexpr int segments = 64;

    const Eigen::Matrix4d& circle() const { return m_circle; }
    void setCircle(const Eigen::Matrix4d& circle) { m_circle = circle; }
    const Eigen::Vector4f& color() const { return m_color; }
    void setColor(const Eigen::Vector4f& color) { m_color = color; }
    float lineWidth() const { return m_lineWidth; }
    void setLineWidth(float pixels) { m_lineWidth = pixels; }

    void draw(const GlView& view) override;
    /// Box of the outline's vertices.
    Geometry::AlignedBox bounds() const override;
    std::string typeName() const override { return "GlCircle"; }

private:
    Eigen::Matrix4d m_circle;
    Eigen::Vector4f m_color;
    float m_lineWidth;
    std::unique_ptr<GL::VertexBuffer> m_buffer;
};

} // namespace Tarnwick
