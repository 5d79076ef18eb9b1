#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <optional>
#include <tuple>
#include <vector>

namespace Tarnwick {

/// The state of some nodes of a graph and of every edge touching them: enough to put exactly those
/// nodes back as they were (same ids, positions, features, attributes and edges) while the rest of
/// the graph is as it was then. Memory and time O(k log N + edges of the k nodes).
class GraphNodesSnapshot {
public:
    GraphNodesSnapshot() = default;
    /// Records the nodes `ids` (absent ones as absent) and their incident edges, both directions.
    static GraphNodesSnapshot capture(const Graph& graph, const std::vector<unsigned long>& ids);

    /// Removes the recorded nodes from `graph` and adds back those that existed, with their edges.
    void restore(Graph& graph) const;

    /// The recorded node ids.
    std::vector<unsigned long> ids() const;

private:
    struct Node {
        unsigned long id = 0;
        std::optional<Graph::NodeInfo> info; ///< empty: the node did not exist
    };
    std::vector<Node> m_nodes;
    std::vector<std::tuple<unsigned long, unsigned long, Graph::EdgeInfo>> m_edges; ///< from, to, edge
};

} // namespace Tarnwick
