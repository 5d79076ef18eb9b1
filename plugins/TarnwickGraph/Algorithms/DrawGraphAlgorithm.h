#pragma once

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <memory>

namespace Tarnwick {

/// Creates a graph to be drawn by hand, or names an existing graph to be edited, with the mouse
/// interactions of the plug-in's GUI (its controller installs them in the views).
///
/// Built on a graph, compute() does nothing: the graph is edited in place by the interactions. Built
/// on nothing, compute() creates a new empty Graph of the chosen "type" and "dimension" (default 2D,
/// Undirected), replacing one an earlier compute() created and nobody took.
class DrawGraphAlgorithm : public Algorithm {
public:
    /// `graph`: the graph to edit, or null to create a new one.
    explicit DrawGraphAlgorithm(Graph* graph = nullptr);
    ~DrawGraphAlgorithm() override;

    /// Compatible with an empty selection (new graph) or exactly one Graph (edit it).
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// The graph given at construction; null when the algorithm creates one.
    Graph* editedGraph() const { return m_graph; }

    Parameter<Graph::Dimension> dimension{"dimension", Graph::Dim2D, this};
    Parameter<Graph::Type> type{"type", Graph::Undirected, this};

private:
    Graph* m_graph;
};

} // namespace Tarnwick
