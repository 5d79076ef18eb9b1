#pragma once

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <map>
#include <memory>
#include <vector>

namespace Tarnwick {

/// Splits a graph into its connected components (weakly connected for a directed graph), one new graph
/// per component with at least minComponentSize nodes, output largest first. The input is not changed.
class PartitionGraphsAlgorithm : public Algorithm {
public:
    /// Component number (0, 1, ... in discovery order) -> the component's node ids, ascending.
    using ComponentMap = std::map<int, std::vector<unsigned long>>;

    explicit PartitionGraphsAlgorithm(const Graph& graph);

    /// Accepts a selection of exactly one Graph.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// Components found by breadth-first searches started from the nodes in ascending id order, following
    /// every adjacency entry (so directed edges in both directions, with the warning "Directed Graph.
    /// Computing weakly connected components."). O(N + E) with hashing.
    static ComponentMap computeConnectedComponents(const Graph& graph);

    /// One graph per listed component, in ascending component number: same type, dimension, placement and
    /// feature descriptors as the input; nodes added in ascending old id with fresh ids and their full
    /// records; every edge of the component once with its record. O((N + E) log N).
    static std::vector<std::unique_ptr<Graph>> partition(const Graph& graph, const ComponentMap& components);

    /// Components with fewer nodes are dropped (one with exactly this many is kept).
    Parameter<int> minComponentSize{"minComponentSize", 1, this};

private:
    const Graph& m_graph;
};

} // namespace Tarnwick
