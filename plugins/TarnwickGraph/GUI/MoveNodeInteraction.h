#pragma once

#include <TarnwickGraph/GUI/SingleSelection.h>

namespace Tarnwick {

/// "Move Single": a left press on the hovered node starts dragging it; every move (and press) while
/// dragging puts it under the mouse, keeping its depth along the view direction (a 2-D graph's node
/// stays in the graph's plane); the release ends the drag, which is one undo step. Events are
/// consumed while dragging.
class MoveNodeInteraction : public SingleSelection {
public:
    explicit MoveNodeInteraction(DisplayWidgetMulti& display);

    std::string name() const override { return "Move Single"; }
    bool sceneEvent(QEvent* event, const GlView& view) override;
    void cleanVisualizations() override;

private:
    unsigned long m_node = 0;
    Eigen::Vector3d m_startPosition = Eigen::Vector3d::Zero();
    GraphNodesSnapshot m_before;
    bool m_moved = false;
};

} // namespace Tarnwick
