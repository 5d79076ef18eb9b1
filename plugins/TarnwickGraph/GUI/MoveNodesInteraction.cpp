#include <TarnwickGraph/GUI/MoveNodesInteraction.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/GUI/GraphNodeLookup.h>

#include <QMouseEvent>

namespace Tarnwick {

MoveNodesInteraction::MoveNodesInteraction(DisplayWidgetMulti& display) : NodesWithinRadiusInteraction(display) {}

bool MoveNodesInteraction::sceneEvent(QEvent* event, const GlView& view) {
    if (NodesWithinRadiusInteraction::sceneEvent(event, view))
        return true;
    const QMouseEvent* mouse = mouseEvent(event);
    if (!mouse || !graph())
        return false;
    if (state() == Idle) {
        if (mouse->type() != QEvent::MouseButtonPress || mouse->button() != Qt::LeftButton || m_hovered.empty())
            return false;
        m_start = graphPosition(view, viewPixel(mouse->localPos()));
        m_dragged.clear();
        for (unsigned long id : m_hovered)
            if (const std::optional<Graph::NodeInfo> node = readNode(*graph(), id))
                m_dragged.emplace_back(id, node->position);
        m_before = GraphNodesSnapshot::capture(*graph(), m_hovered);
        m_moved = false;
        setState(Active);
        return true;
    }
    if (mouse->type() == QEvent::MouseMove) {
        const Eigen::Vector3d offset = graphPosition(view, viewPixel(mouse->localPos())) - m_start;
        std::vector<unsigned long> ids;
        for (const auto& [id, start] : m_dragged) {
            graph()->editNode(id, [&](Graph::NodeInfo& info) { info.position = start + offset; });
            ids.push_back(id);
        }
        nodesChanged(ids);
        m_moved = true;
    } else if (mouse->type() == QEvent::MouseButtonRelease) {
        setState(Idle);
        if (m_moved)
            recordEdit(std::move(m_before), "Move nodes");
        m_before = {};
        m_dragged.clear();
    }
    return true;
}

void MoveNodesInteraction::cleanVisualizations() {
    NodesWithinRadiusInteraction::cleanVisualizations();
    m_dragged.clear();
    m_before = {};
    m_moved = false;
}

} // namespace Tarnwick
