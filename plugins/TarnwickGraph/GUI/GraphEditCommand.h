#pragma once

#include <TarnwickCore/Signal.h>
#include <TarnwickGraph/GUI/GraphNodesSnapshot.h>

#include <QPointer>
#include <QUndoCommand>

namespace Tarnwick {

class DisplayWidgetMulti;
class Graph;

/// One mouse edit of a graph on the undo stack, recorded after it was made: the edited nodes before
/// and after it (GraphNodesSnapshot), so that undo and redo restore exactly those nodes with their ids
/// and edges. The first redo, when the command is pushed, does nothing.
///
/// After each undo or redo the display is told that the graph changed (DisplayWidgetMulti::refreshData),
/// which redraws it and lets the interactions drop what they were doing. A graph destroyed meanwhile
/// turns the command into a no-op.
class GraphEditCommand : public QUndoCommand, public SignalReceiver {
public:
    GraphEditCommand(Graph& graph, GraphNodesSnapshot before, GraphNodesSnapshot after, const QString& text,
                     DisplayWidgetMulti* display);

    void undo() override;
    void redo() override;

private:
    void restore(const GraphNodesSnapshot& snapshot);

    Graph* m_graph;
    GraphNodesSnapshot m_before;
    GraphNodesSnapshot m_after;
    QPointer<DisplayWidgetMulti> m_display;
    bool m_pushed = false;
};

} // namespace Tarnwick
