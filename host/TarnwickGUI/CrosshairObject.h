#pragma once

#include <TarnwickGL/GlObject.h>

#include <memory>

namespace Tarnwick {

namespace GL {
class VertexBuffer;
}

/// Two lines through a world point across a slice view, along the view's right and up directions;
/// not drawn in the volume view. One object per view: its vertex buffer belongs to that view's context.
class CrosshairObject : public GlObject {
public:
    CrosshairObject();
    ~CrosshairObject() override;

    void setPosition(const Eigen::Vector3d& world) { m_position = world; }
    const Eigen::Vector3d& position() const { return m_position; }

    void draw(const GlView& view) override;
    std::string typeName() const override { return "CrosshairObject"; }

private:
    Eigen::Vector3d m_position = Eigen::Vector3d::Zero();
    std::unique_ptr<GL::VertexBuffer> m_lines;
};

} // namespace Tarnwick
