#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class Graph;

/// One vessel segment: a maximal chain of edges between two nodes whose adjacency count is not 2
/// (junctions and ends), or a closed loop. Lengths and diameters are in the units of the graph's
/// positions and edge features (millimetres for the main job's graphs).
struct GraphSegment {
    std::size_t id = 0;
    unsigned long startNode = 0; ///< the end nearer the root (the walk's first node when both are as near)
    unsigned long endNode = 0;
    std::size_t numEdges = 0;
    double lengthMm = 0.0; ///< sum of the edge feature "length" (edge chord when the graph has none)
    double chordMm = 0.0;  ///< straight distance between the two end positions
    /// lengthMm / chordMm; empty when the chord is 0 (closed loops).
    std::optional<double> tortuosity;
    /// Over the segment's "diameter" edge values; NaN when the graph has no "diameter" feature. The mean
    /// is weighted by edge length (plain mean when the segment has length 0).
    double meanDiameterMm = 0.0;
    double medianDiameterMm = 0.0;
    double minDiameterMm = 0.0;
    double maxDiameterMm = 0.0;
    double volumeMm3 = 0.0; ///< sum over edges of pi (d / 2)^2 length; NaN without diameters
    /// Segments between the root and this one, counted along the segment graph (0 at the root's segments).
    int generation = 0;
    /// Strahler order on the breadth-first spanning tree of the segment graph from the root (leaves 1);
    /// empty for a segment that closes a cycle and so is not in that tree.
    std::optional<int> strahler;
};

/// Splits the graph into segments and measures them. Edges are followed regardless of direction.
/// Every connected component has its own root: the leaf end of its end segment with the largest mean
/// diameter (the first such segment on ties; the smallest node id of the component without leaves);
/// `root`, when set, replaces the root of its component and must be a node whose adjacency count is not 2.
/// Segments are numbered from 0 in the order they are walked: from the nodes whose adjacency count is not
/// 2 in ascending id order, each towards its neighbours in ascending order, then the closed loops.
/// Empty, with the reason logged, for an unknown or inner root. O((N + E) log N).
std::optional<std::vector<GraphSegment>> computeGraphSegments(const Graph& graph,
                                                              std::optional<unsigned long> root = std::nullopt);

/// Writes the segments as CSV (header segment_id,start_node,end_node,num_edges,length_mm,chord_mm,
/// tortuosity,mean_diameter_mm,median_diameter_mm,min_diameter_mm,max_diameter_mm,volume_mm3,generation,
/// strahler; empty fields for missing values) to `path` atomically: a failure leaves any file already
/// there unchanged. False with the reason in `error`.
bool writeGraphSegmentsCsv(const std::vector<GraphSegment>& segments, const std::string& path, std::string& error);

} // namespace Tarnwick
