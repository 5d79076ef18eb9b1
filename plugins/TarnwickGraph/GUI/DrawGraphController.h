#pragma once

#include <TarnwickCore/Signal.h>
#include <TarnwickGUI/DefaultAlgorithmController.h>

#include <memory>
#include <string>

class QActionGroup;
class QToolBar;

namespace Tarnwick {

class DrawGraphAlgorithm;
class Graph;
class GraphManipulator;

/// The controller of "Graph;Draw or edit Graph": installs a GraphManipulator with the interactions
/// "Draw", "Move Single", "Move Multiple" and "Delete Multiple" in the application's views, and shows
/// a tool bar of four exclusive buttons with those names to switch between them ("Draw" first).
///
/// Editing a selected graph, the manipulator is installed by init() and the parameter form and the
/// Compute button are hidden. Creating a graph, the form ("type", "dimension") and Compute are shown;
/// the graph a run adds to the data model gets the manipulator (postprocessOutput), replacing the
/// one of an earlier run. The manipulator leaves the views with the controller or with its graph.
class DrawGraphController : public DefaultAlgorithmController, public SignalReceiver {
public:
    explicit DrawGraphController(DrawGraphAlgorithm* algorithm, QWidget* parent = nullptr);
    ~DrawGraphController() override;

    void init() override;
    void postprocessOutput(const std::vector<Data*>& added) override;

    /// The installed manipulator; null before there is a graph.
    GraphManipulator* manipulator() const { return m_manipulator.get(); }
    QToolBar* interactionBar() const { return m_bar; }
    /// Activates an interaction by name, as its tool button does; false for an unknown name.
    bool activateInteraction(const std::string& name);

private:
    void addManipulator(Graph& graph);
    void removeManipulator();

    DrawGraphAlgorithm* m_draw;
    std::unique_ptr<GraphManipulator> m_manipulator;
    SignalConnection m_graphDeleted;
    QToolBar* m_bar = nullptr;
    QActionGroup* m_group = nullptr;
};

} // namespace Tarnwick
