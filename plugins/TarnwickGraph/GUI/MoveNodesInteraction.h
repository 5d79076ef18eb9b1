#pragma once

#include <TarnwickGraph/GUI/NodesWithinRadiusInteraction.h>

#include <utility>
#include <vector>

namespace Tarnwick {

/// "Move Multiple": a left press with nodes in the circle starts dragging them; while dragging, each
/// is set to its position at the press plus the mouse's offset since the press (in graph
/// coordinates); the release ends the drag, which is one undo step. Events are consumed while
/// dragging.
class MoveNodesInteraction : public NodesWithinRadiusInteraction {
public:
    explicit MoveNodesInteraction(DisplayWidgetMulti& display);

    std::string name() const override { return "Move Multiple"; }
    bool sceneEvent(QEvent* event, const GlView& view) override;
    void cleanVisualizations() override;

private:
    Eigen::Vector3d m_start = Eigen::Vector3d::Zero();
    std::vector<std::pair<unsigned long, Eigen::Vector3d>> m_dragged; ///< id, position at the press
    GraphNodesSnapshot m_before;
    bool m_moved = false;
};

} // namespace Tarnwick
