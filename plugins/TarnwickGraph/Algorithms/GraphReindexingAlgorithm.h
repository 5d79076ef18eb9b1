#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <memory>

namespace Tarnwick {

class Graph;

/// Renumbers the nodes of a connected graph along a depth-first traversal from a root: the root gets
/// id 1 and every other node the position of its visit (plus one). Positions, features, attributes,
/// edges, descriptors and the data matrix are kept.
///
/// The root is `rootIndex` (Manual) or, with LargestDiameter, the terminal node (exactly one adjacency
/// entry) whose edge has the largest "diameter"; the chosen root is then written into `rootIndex`.
/// `rootIndex` is hidden while the mode is LargestDiameter.
///
/// With `inPlace` the input graph's content is replaced (its largest id ever used cannot shrink, so
/// later addNode calls continue above the old ids); otherwise the renumbered graph is the output.
///
/// Failures (error log, status InvalidInput, input unchanged, no output): "No diameter feature found.
/// Please compute diameter using Compute Features.", "Invalid root node index selected.",
/// "GraphReindexingAlgorithm requires a connected graph. Please run Partition Graph first.". A terminal
/// node whose only adjacency entry holds no edge record (a directed in-edge) cannot be scored: that
/// fails with status Error and the reason logged.
class GraphReindexingAlgorithm : public Algorithm {
public:
    enum Mode : int { Manual = 0, LargestDiameter = 1 };

    explicit GraphReindexingAlgorithm(Graph& graph);

    /// Compatible when the selection is exactly one Graph.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// A new graph (same type, dimension, matrix, name and descriptors) holding the nodes reachable from
    /// root in depth-first visit order, ids 1, 2, ..., and every edge between them. root must be a node.
    static std::unique_ptr<Graph> renumberFromRoot(const Graph& graph, unsigned long root);

    Parameter<Mode> mode{"mode", Manual, this};
    Parameter<unsigned long> rootIndex{"rootIndex", 0, this};
    Parameter<bool> inPlace{"inPlace", false, this};

private:
    void updateVisibility();

    Graph& m_graph;
};

} // namespace Tarnwick
