#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <memory>
#include <utility>
#include <vector>

namespace Tarnwick::Test {

using EdgeList = std::vector<std::pair<unsigned long, unsigned long>>;

/// A node at (x, y, z) without features.
inline Graph::NodeInfo nodeAt(double x, double y = 0.0, double z = 0.0) {
    return Graph::NodeInfo(Eigen::Vector3d(x, y, z), {});
}

/// An edge record whose first feature ("diameter" in a new graph) is `value`.
inline Graph::EdgeInfo edgeWith(double value) {
    return Graph::EdgeInfo({value});
}

/// A graph with nodes 1 .. nodeCount, node i at (i, 0, 0), and the listed edges, each with first feature
/// `edgeValue`.
inline std::unique_ptr<Graph> makeGraph(Graph::Type type, unsigned long nodeCount, const EdgeList& edges,
                                        double edgeValue = 0.0) {
    auto graph = std::make_unique<Graph>(type, Graph::Dim3D);
    for (unsigned long i = 1; i <= nodeCount; ++i)
        graph->addNode(nodeAt(static_cast<double>(i)));
    for (const auto& [from, to] : edges)
        graph->addEdge(from, to, edgeWith(edgeValue));
    return graph;
}

/// Ids in the order a node sweep reports them.
inline std::vector<unsigned long> nodeOrder(const Graph& graph) {
    std::vector<unsigned long> ids;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&) { ids.push_back(id); });
    return ids;
}

} // namespace Tarnwick::Test
