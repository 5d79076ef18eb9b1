#pragma once

#include <TarnwickGL/GlObject.h>

#include <memory>

namespace Tarnwick {

namespace GL {
class VertexBuffer;
}

/// One round point at a position (in the object's coordinates, placed by the model matrix), drawn in
/// every view with a diameter in pixels. In slice views of the 3-D scene it shows only inside the slab.
class GlPoint : public GlObject {
public:
    explicit GlPoint(const Eigen::Vector3d& position = Eigen::Vector3d::Zero(),
                     const Eigen::Vector4f& color = Eigen::Vector4f(1, 1, 0, 1), float diameter = 8.0f);
    ~GlPoint() override;

    const Eigen::Vector3d& position() const { return m_position; }
    void setPosition(const Eigen::Vector3d& position) { m_position = position; }
    const Eigen::Vector4f& color() const { return m_color; }
    void setColor(const Eigen::Vector4f& color) { m_color = color; }
    float diameter() const { return m_diameter; }
    void setDiameter(float pixels) { m_diameter = pixels; }

    void draw(const GlView& view) override;
    Geometry::AlignedBox bounds() const override;
    std::string typeName() const override { return "GlPoint"; }

private:
    Eigen::Vector3d m_position;
    Eigen::Vector4f m_color;
    float m_diameter;
    std::unique_ptr<GL::VertexBuffer> m_buffer;
};

} // namespace Tarnwick
