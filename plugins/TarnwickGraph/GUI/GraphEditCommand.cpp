#include <TarnwickGraph/GUI/GraphEditCommand.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>

namespace Tarnwick {

GraphEditCommand::GraphEditCommand(Graph& graph, GraphNodesSnapshot before, GraphNodesSnapshot after,
                                   const QString& text, DisplayWidgetMulti* display)
    : QUndoCommand(text), m_graph(&graph), m_before(std::move(before)), m_after(std::move(after)), m_display(display) {
    graph.signalDeleted.connect(this, [this](const Data*) { m_graph = nullptr; });
}

void GraphEditCommand::undo() {
    restore(m_before);
}

void GraphEditCommand::redo() {
    if (!m_pushed) {
        m_pushed = true; // the edit is already made
        return;
    }
    restore(m_after);
}

void GraphEditCommand::restore(const GraphNodesSnapshot& snapshot) {
    if (!m_graph)
        return;
    snapshot.restore(*m_graph);
    if (m_display)
        m_display->refreshData(*m_graph);
}

} // namespace Tarnwick
