#pragma once

#include <TarnwickGraph/Graph/GraphDisplayOptions.h>

#include <Eigen/Core>

#include <vector>

namespace Tarnwick {

class Graph;

/// The circles that show an edge feature around the edges of a graph (the display options' feature
/// circles): one per edge, or one per chain of degree-2 nodes, each centred on its edge's (chain's)
/// midpoint in the plane perpendicular to the edge there. All positions are graph coordinates; the
/// renderer draws them under the graph's matrix. The four lists run in parallel.
struct GraphFeatureCircles {
    std::vector<Eigen::Vector3d> centers;
    std::vector<Eigen::Vector3d> normals; ///< unit edge directions ((0, 0, 1) for a zero-length edge)
    std::vector<double> values;           ///< the feature value each circle shows
    std::vector<float> radii;

    /// Circles for `options.featureName` (an edge feature), empty when it is unset or not an edge feature.
    /// - Per edge (forEachEdge order): centre = edge midpoint, value = the edge's feature.
    /// - simplifyLinearChains: per segment (a maximal chain whose inner nodes have two adjacency entries;
    ///   walked from nodes with another count in ascending id, then around closed loops): value = mean of
    ///   its edges' values (GraphUtils::avgReduction), centre = the point halfway along the chain's length,
    ///   normal = the direction of the edge holding that point.
    /// Radius from the value x by the scaling mode, with max the largest value shown:
    /// Raw r = x; RescaledMax r = x * ref / max; Logarithmic r = ref * log1p(x) / log1p(max); the last two
    /// keep x when max <= 0. ref is half the largest edge "diameter" when the graph has that feature, else
    /// the cube root of (volume of the box around the node positions / number of edges). A radius that is
    /// not finite becomes 0. O(N + E) (chains: O(E log N)).
    static GraphFeatureCircles compute(const Graph& graph, const GraphDisplayOptions::FeatureCircleOptions& options);

    std::size_t size() const { return centers.size(); }
    /// True when the lists have different lengths (never for compute()'s result).
    bool isInconsistent() const;
};

} // namespace Tarnwick
