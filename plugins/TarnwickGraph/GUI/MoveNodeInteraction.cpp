#include <TarnwickGraph/GUI/MoveNodeInteraction.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/GUI/GraphNodeLookup.h>

#include <QMouseEvent>

namespace Tarnwick {

MoveNodeInteraction::MoveNodeInteraction(DisplayWidgetMulti& display) : SingleSelection(display) {}

bool MoveNodeInteraction::sceneEvent(QEvent* event, const GlView& view) {
    SingleSelection::sceneEvent(event, view);
    const QMouseEvent* mouse = mouseEvent(event);
    if (!mouse || !graph())
        return false;
    if (state() == Idle) {
        if (mouse->type() != QEvent::MouseButtonPress || mouse->button() != Qt::LeftButton || !m_hovered)
            return false;
        const std::optional<Graph::NodeInfo> node = readNode(*graph(), *m_hovered);
        if (!node)
            return false;
        m_node = *m_hovered;
        m_startPosition = node->position;
        m_before = GraphNodesSnapshot::capture(*graph(), {m_node});
        m_moved = false;
        setState(Active);
        return true;
    }
    if (mouse->type() == QEvent::MouseMove || mouse->type() == QEvent::MouseButtonPress) {
        const Eigen::Vector3d position = graphPosition(view, viewPixel(mouse->localPos()), m_startPosition);
        graph()->editNode(m_node, [&](Graph::NodeInfo& info) { info.position = position; });
        nodesChanged({m_node});
        m_moved = true;
    } else if (mouse->type() == QEvent::MouseButtonRelease) {
        setState(Idle);
        if (m_moved)
            recordEdit(std::move(m_before), "Move node");
        m_before = {};
    }
    return true;
}

void MoveNodeInteraction::cleanVisualizations() {
    SingleSelection::cleanVisualizations();
    m_before = {};
    m_moved = false;
}

} // namespace Tarnwick
