#pragma once

#include <TarnwickLib/Data/NearestNeighborSearch.h>

#include <Eigen/Core>

#include <optional>
#include <vector>

namespace Tarnwick {

class Graph;

/// Exact nearest-edge queries against the edges of a graph, in world coordinates.
///
/// Every edge is sampled at points no farther than `step` apart (both ends included) and the samples are
/// indexed in a k-d tree. A query takes the nearest sample (distance d), collects every edge with a
/// sample within d + step / 2 (the nearest edge is always among them, since each point of an edge lies
/// within step / 2 of one of its samples), and returns the candidate whose segment is closest. The step
/// is the median edge length, raised to total length / (4 E) so that at most 6 E samples are made.
/// Build O(S log S) for S samples; query O(log S + candidates). Queries are thread-safe.
class NearestEdgeSearch {
public:
    struct Hit {
        unsigned long from = 0; ///< the edge's first node, as forEachEdge reports it
        unsigned long to = 0;
        double distance = 0.0; ///< world distance from the query point to the segment
        double t = 0.0;        ///< position of the closest point along the edge, 0 at `from`, 1 at `to`
        int edgeIndex = 0;     ///< rank of the edge in forEachEdge order
    };

    /// Indexes the edges of `graph`, whose positions are mapped to world by its matrixToWorld().
    explicit NearestEdgeSearch(const Graph& graph);

    std::size_t numEdges() const { return m_segments.size(); }

    /// The closest edge to a world point; empty when the graph has no edges.
    std::optional<Hit> nearest(const Eigen::Vector3d& worldPoint) const;

private:
    struct Segment {
        unsigned long from, to;
        Eigen::Vector3d a, b;
    };

    std::vector<Segment> m_segments;
    std::vector<int> m_sampleEdge; ///< edge index of each sample
    double m_step = 1.0;
    NearestNeighborSearch m_samples;
};

} // namespace Tarnwick
