#include <TarnwickGraph/GUI/DrawGraphInteraction.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/GUI/GraphNodeLookup.h>

#include <QMouseEvent>

namespace Tarnwick {

DrawGraphInteraction::DrawGraphInteraction(DisplayWidgetMulti& display) : SingleSelection(display) {}

bool DrawGraphInteraction::sceneEvent(QEvent* event, const GlView& view) {
    SingleSelection::sceneEvent(event, view);
    const QMouseEvent* mouse = mouseEvent(event);
    if (!mouse || !graph())
        return false;
    if (state() == Idle) {
        const bool start = mouse->type() == QEvent::MouseButtonPress && mouse->button() == Qt::MiddleButton &&
                           (m_hovered || graph()->numNodes() == 0);
        if (!start)
            return false;
        m_current = m_hovered;
        setState(Active);
        return true;
    }
    if (mouse->type() == QEvent::MouseMove) {
        const Eigen::Vector3d position = mousePosition(*mouse, view);
        if (m_preview && graph()->hasNode(*m_preview)) {
            graph()->editNode(*m_preview, [&](Graph::NodeInfo& info) { info.position = position; });
        } else {
            m_preview = graph()->addNode(Graph::NodeInfo(position, {}));
            if (m_current && graph()->hasNode(*m_current))
                graph()->addEdge(*m_current, *m_preview, {});
        }
        nodesChanged({*m_preview});
    } else if (mouse->type() == QEvent::MouseButtonPress &&
               (mouse->button() == Qt::LeftButton || mouse->button() == Qt::RightButton)) {
        const Eigen::Vector3d position = mousePosition(*mouse, view);
        removePreview();
        addNodeAt(position);
        if (mouse->button() == Qt::RightButton) {
            m_current.reset();
            setState(Idle);
        }
    }
    return true;
}

Eigen::Vector3d DrawGraphInteraction::mousePosition(const QMouseEvent& mouse, const GlView& view) const {
    std::optional<Eigen::Vector3d> reference;
    if (m_current)
        if (const std::optional<Graph::NodeInfo> node = readNode(*graph(), *m_current))
            reference = node->position;
    return graphPosition(view, viewPixel(mouse.localPos()), reference);
}

void DrawGraphInteraction::addNodeAt(const Eigen::Vector3d& position) {
    Graph& g = *graph();
    const unsigned long next = g.maxNodeId() + 1; // the id addNode hands out
    std::vector<unsigned long> touched = {next};
    if (m_current && g.hasNode(*m_current))
        touched.push_back(*m_current);
    GraphNodesSnapshot before = GraphNodesSnapshot::capture(g, touched);
    const unsigned long id = g.addNode(Graph::NodeInfo(position, {}));
    if (m_current && g.hasNode(*m_current) && g.numNodes() > 1)
        g.addEdge(*m_current, id, {});
    m_current = id;
    nodesChanged(touched);
    recordEdit(std::move(before), "Draw node");
}

void DrawGraphInteraction::removePreview() {
    if (!m_preview)
        return;
    const unsigned long preview = *m_preview;
    m_preview.reset();
    if (graph() && graph()->hasNode(preview)) {
        graph()->removeNode(preview);
        nodesChanged({preview});
    }
}

void DrawGraphInteraction::cleanVisualizations() {
    removePreview();
    m_current.reset();
    SingleSelection::cleanVisualizations();
}

} // namespace Tarnwick
