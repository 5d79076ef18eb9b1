#pragma once

#include <cstddef>

namespace Tarnwick {

class Graph;

/// Counts and measures of a centerline graph, as the main job reports them.
struct GraphSummary {
    std::size_t nodes = 0;
    std::size_t edges = 0;
    std::size_t branchPoints = 0; ///< clusters of adjacent nodes with three or more neighbours
    std::size_t endpoints = 0;    ///< nodes with one neighbour
    std::size_t components = 0;
    long long cycles = 0;     ///< independent cycles (edges - nodes + components), each junction cluster merged
    double totalLength = 0.0; ///< sum of the edge feature "length" (0 without it)
    double minDiameter = 0.0; ///< range of the positive edge feature "diameter" (0, 0 without it)
    double maxDiameter = 0.0;
};

/// Summarises an undirected graph. A skeleton branches through a cluster of adjacent junction nodes
/// (often a small triangle), so each cluster counts as one branch point and its inner edges are not
/// counted as cycles; on a graph whose clusters were merged (mergeJunctionClusters) the counts equal
/// the plain degree and cycle-basis counts. O((nodes + edges) log nodes).
GraphSummary summarizeGraph(const Graph& graph);

} // namespace Tarnwick
