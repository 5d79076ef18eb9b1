#include <TarnwickGraph/GUI/DeleteNodesInteraction.h>

#include <TarnwickGraph/Graph/Graph.h>

#include <QKeyEvent>

namespace Tarnwick {

DeleteNodesInteraction::DeleteNodesInteraction(DisplayWidgetMulti& display) : NodesWithinRadiusInteraction(display) {}

bool DeleteNodesInteraction::sceneEvent(QEvent* event, const GlView& view) {
    if (NodesWithinRadiusInteraction::sceneEvent(event, view))
        return true;
    if (mouseEvent(event)) {
        m_pending = m_hovered;
        return false;
    }
    const bool key = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    if (!key || static_cast<const QKeyEvent*>(event)->key() != Qt::Key_Delete)
        return false;
    // The override only claims the key; the key press that follows deletes.
    if (event->type() == QEvent::KeyPress && graph() && !m_pending.empty()) {
        GraphNodesSnapshot before = GraphNodesSnapshot::capture(*graph(), m_pending);
        for (unsigned long id : m_pending)
            graph()->removeNode(id);
        nodesChanged(m_pending);
        m_pending.clear();
        m_hovered.clear();
        recordEdit(std::move(before), "Delete nodes");
    }
    return true;
}

void DeleteNodesInteraction::cleanVisualizations() {
    NodesWithinRadiusInteraction::cleanVisualizations();
    m_pending.clear();
}

} // namespace Tarnwick
