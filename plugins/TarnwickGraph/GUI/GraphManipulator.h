#pragma once

#include <TarnwickCore/Signal.h>
#include <TarnwickGraph/GUI/GraphNodesSnapshot.h>
#include <TarnwickGUI/Manipulator.h>

#include <QMetaObject>
#include <QMouseEvent>
#include <QString>

#include <Eigen/Core>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class Data;
class DisplayWidgetMulti;
class Graph;
class GraphNodeIndex;

/// The mouse editing of one graph in the views: a set of named interactions (drawing, moving,
/// deleting) of which one is active and receives the views' events. Install it with
/// DisplayWidgetMulti::addManipulator.
class GraphManipulator : public Manipulator {
public:
    class Interaction;

    explicit GraphManipulator(Graph& graph);
    ~GraphManipulator() override;

    Graph& graph() const { return m_graph; }

    /// Adds an interaction under `name`, shares the manipulator's node index with it and gives it the
    /// graph. The first one added becomes active.
    void addInteraction(const std::string& name, std::unique_ptr<Interaction> interaction);
    /// Makes the named interaction active; the one active before cleans its visualisations. False for
    /// an unknown name.
    bool setActiveInteraction(const std::string& name);
    Interaction* activeInteraction() const;
    std::string activeInteractionName() const;

    /// Forwards the event to the active interaction; false when there is none.
    bool sceneEvent(QEvent* event, const GlView& view) override;

private:
    Graph& m_graph;
    std::shared_ptr<GraphNodeIndex> m_index;
    std::vector<std::pair<std::string, std::unique_ptr<Interaction>>> m_interactions;
    std::size_t m_active = 0;
};

/// Base of the graph interactions: the display they work in, the graph they edit (not owned; a graph
/// destroyed meanwhile is forgotten), their state (Idle 1, Active 2 while dragging or drawing) and their
/// feedback markers.
///
/// Hit tests go through a GraphNodeIndex of the graph's world node positions, kept up to date with the
/// interactions' own edits and rebuilt when the display reports the graph changed elsewhere
/// (DisplayWidgetMulti::dataRefreshed, also sent by undo and redo). Edits are made in graph
/// coordinates: mouse positions are mapped through the inverse of the graph's matrixToWorld(); each
/// finished edit is recorded on the display's undo stack as a GraphEditCommand.
class GraphManipulator::Interaction : public Manipulator, public SignalReceiver {
public:
    enum State : int { Idle = 1, Active = 2 };

    explicit Interaction(DisplayWidgetMulti& display);
    ~Interaction() override;

    /// The name shown to the user; empty for the abstract selections.
    virtual std::string name() const { return {}; }

    void setGraph(Graph* graph);
    Graph* graph() const { return m_graph; }
    State state() const { return m_state; }

    /// Hides the feedback and drops an edit in progress (back to Idle).
    virtual void cleanVisualizations() = 0;

    /// Uses `index` (shared with the other interactions of a manipulator) for hit tests.
    void shareIndex(std::shared_ptr<GraphNodeIndex> index);

protected:
    DisplayWidgetMulti& display() const { return m_display; }
    void setState(State state) { m_state = state; }

    /// The node index, rebuilt first when it does not match the graph. Needs a graph.
    const GraphNodeIndex& nodeIndex();
    /// Tells the index and the views that these nodes changed (moved, added, removed).
    void nodesChanged(const std::vector<unsigned long>& ids);
    /// Records the finished edit of `before.ids()` on the display's undo stack (when it has one).
    void recordEdit(GraphNodesSnapshot before, const QString& text);

    /// The graph's node position under the mouse pixel in `view`, in graph coordinates. A 2-D graph's
    /// positions stay in its own plane (at the reference's z, else 0); a 3-D position keeps the
    /// depth of `reference` (graph coordinates) along the view direction, else lies in the view's
    /// plane (ViewPicking::onViewPlane).
    Eigen::Vector3d graphPosition(const GlView& view, const Eigen::Vector2d& pixel,
                                  const std::optional<Eigen::Vector3d>& reference = std::nullopt) const;
    Eigen::Vector3d toWorld(const Eigen::Vector3d& graphPosition) const;
    /// The event as a mouse press, release, double click or move; null for other events.
    static const QMouseEvent* mouseEvent(const QEvent* event);

private:
    void onDataRefreshed(const Data* data);

    DisplayWidgetMulti& m_display;
    Graph* m_graph = nullptr;
    State m_state = Idle;
    std::shared_ptr<GraphNodeIndex> m_index;
    QMetaObject::Connection m_refreshed;
    SignalConnection m_deleted;
};

} // namespace Tarnwick
