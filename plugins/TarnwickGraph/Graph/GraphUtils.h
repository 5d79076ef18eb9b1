#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Stateless helpers over a Graph shared by the algorithms. Errors are logged at error level; unknown
/// ids never throw (the functions simply find nothing) unless stated.
namespace Tarnwick::GraphUtils {

/// Reduces a list of values to one (e.g. avgReduction, sumReduction).
using Reduction = std::function<double(const std::vector<double>&)>;

// --- structure -------------------------------------------------------------------------------------

/// Ids whose total degree is exactly 1, ascending. Isolated nodes and nodes whose only edge is a self
/// loop (degree 2) are not leaves. O(N).
std::vector<unsigned long> findLeafNodes(const Graph& graph);

/// True when the underlying undirected graph is a forest, for both graph types: a directed diamond
/// 1->2, 1->3, 3->2 and two opposite edges 1->2, 2->1 count as cycles, a self loop always does.
/// Iterative depth-first search in ascending id order; O(N + E) time and memory.
bool isAcyclic(const Graph& graph);

/// The node with the largest score, visiting ids in ascending order; ties go to the smallest id and a
/// NaN score never beats a number. Empty for an empty graph.
std::optional<unsigned long>
argmaxNode(const Graph& graph,
           const std::function<double(unsigned long, const Graph::NodeInfo&, const Graph::Neighborhood&)>& score);
std::optional<unsigned long> argmaxNode(const Graph& graph, const std::function<double(const Graph::NodeInfo&)>& score);

/// Maps every node position p to the affine image (transform * (p, 1)).head(3). O(N).
void transformNodePositions(Graph& graph, const Eigen::Matrix4d& transform);

// --- features --------------------------------------------------------------------------------------

/// Replaces target's node and edge feature descriptors by source's (target's feature values are dropped).
void copyFeatureDescriptors(const Graph& source, Graph& target);

/// Writes combine(node value, node value) of node feature nodeFeatureIdx into the edge feature
/// edgeFeatureName (created with default 0 when missing) of every edge and returns its index.
/// Directed edges u -> v get combine(value at u, value at v); undirected edges get combine(value at the
/// larger id, value at the smaller id). An index that is not a node feature logs an error, changes
/// nothing and returns 0xFFFFFFFF.
std::uint32_t transformNodeFeatureToEdge(Graph& graph, unsigned long nodeFeatureIdx,
                                         const std::function<double(double, double)>& combine,
                                         const std::string& edgeFeatureName);

/// Arithmetic mean; 0 for an empty list.
double avgReduction(const std::vector<double>& values);
/// Sum; 0 for an empty list.
double sumReduction(const std::vector<double>& values);
/// Middle value of the sorted list (mean of the two middle values for an even count); 0 for an empty
/// list, NaN when a value is NaN. O(n).
double computeMedian(std::vector<double> values);

/// Sets the edge feature "length" (created with default 0 when missing) of every edge to the Euclidean
/// distance between its end nodes' positions, in graph coordinates; returns its index.
int computeEdgeLengths(Graph& graph);

// --- linear paths and segments ---------------------------------------------------------------------
// A segment is a maximal chain of edges whose inner nodes have exactly two adjacency entries. Walks
// follow edges regardless of direction; the record of an edge traversed against its direction is the
// one stored at its source.

/// Node ids of the chain that leaves `start` through its neighbour `next` and runs on through nodes with
/// exactly two adjacency entries. It ends at the first node with another count, when it comes back to
/// start (a closed loop, start is then listed again at the end) or before a self loop. visit (optional)
/// is called for each traversed edge with its two ends and its record. Empty when start is not a node or
/// next is not its neighbour. O(length * log N).
std::vector<unsigned long>
traversePath(const Graph& graph, unsigned long start, unsigned long next,
             const std::function<void(unsigned long, unsigned long, const Graph::EdgeInfo&)>& visit = {});

struct LinearPath {
    std::vector<unsigned long> nodes; ///< the chain, as traversePath returns it
    std::vector<double> values;       ///< edge feature values, one per traversed edge (nodes.size() - 1)
};
/// The chain of traversePath with the values of edge feature featureIdx along it. An index that is not
/// an edge feature logs an error and gives an empty result.
LinearPath collectLinearPathFeatures(const Graph& graph, unsigned long start, unsigned long next, int featureIdx);

struct AggregatedPath {
    std::vector<unsigned long> nodes; ///< the chain, as traversePath returns it
    double value = 0.0;               ///< reduce() of the chain's edge values
};
/// collectLinearPathFeatures reduced to one value.
AggregatedPath aggregateLinearPathFeatures(const Graph& graph, unsigned long start, unsigned long next, int featureIdx,
                                           const Reduction& reduce);

/// Gives every edge the reduce() of edge feature featureIdx over its whole segment, written into the edge
/// feature outputName (created with default 0 when missing); returns its index. Segments are walked from
/// branching nodes (three or more adjacency entries) first, then from leaves, then around closed loops;
/// an edge that lies in no segment (a self loop beside a chain) gets 0. An index that is not an edge
/// feature logs an error, changes nothing and returns -1.
int accumulateFeatureAlongSegments(Graph& graph, const Reduction& reduce, int featureIdx,
                                   const std::string& outputName);
/// Same with the input feature named; throws std::bad_optional_access when there is no such edge feature.
int accumulateFeatureAlongSegments(Graph& graph, const Reduction& reduce, const std::string& featureName,
                                   const std::string& outputName);

/// Evens out edge feature featureIdx (e.g. "diameter") along each segment. Segments are walked from every
/// node whose adjacency count is not 2 towards each neighbour not yet visited, then around closed loops
/// not yet reached. Within a segment with values v_0 .. v_m-1 (in walking order):
/// 1. clamp: each value is clamped into [median / factor, median * factor], median of the segment's
///    values (bounds swapped when the median is negative);
/// 2. slidingAverage = w: each value becomes the mean of a window of w positions centred on it
///    ((w - 1) / 2 before, w / 2 after), over the sequence J_start, v_0 .. v_m-1, J_end, where J_start
///    and J_end are the means of the values of the edges that meet the segment's first and last node
///    from outside the segment (absent at leaves). Windows are cut at the ends of that sequence.
/// Every new value is computed from the values before the call, so the result does not depend on the
/// order in which segments are visited. Returns false, changing nothing, with an error logged, when
/// featureIdx is not an edge feature, w < 1, or clamp is set and factor is not a positive finite number.
bool clampAndSmoothEdgeFeature(Graph& graph, int featureIdx, bool clamp, std::optional<int> slidingAverage,
                               double factor);

// --- shortest paths --------------------------------------------------------------------------------
// Dijkstra's algorithm with a binary heap, O((N + E) log N); directed graphs are followed along edge
// direction. Equal distances are settled in ascending id order. A negative weight met during the search
// is an error.

/// Node ids of a shortest path from start to end inclusive, weighted by the edge feature "length";
/// when the graph has no "length" it is first created and filled by computeEdgeLengths. [start] when
/// start equals end (the graph is then not touched). Empty, with an error logged, for an unknown start or
/// end, a negative length or a broken predecessor chain; empty without a message when end is unreachable.
std::optional<std::vector<unsigned long>> shortestGeometricPath(Graph& graph, unsigned long start, unsigned long end);

/// Node ids of a shortest path from start to end inclusive, weighted by the edge feature weightFeature.
/// [start] when start equals end. Empty with an error logged for an unknown node or feature or a negative
/// weight; empty without a message when end is unreachable.
std::optional<std::vector<unsigned long>> shortestPath(const Graph& graph, unsigned long start, unsigned long end,
                                                       const std::string& weightFeature);

/// All shortest paths from (or to) a set of nodes, as a tree: every reached node with its distance to the
/// nearest seed and its neighbour on the way there.
struct ShortestPathTree {
    /// Distance of every reached node to its nearest seed; seeds have 0. Unreached nodes are absent.
    std::map<unsigned long, double> distances;
    /// For every reached node except the seeds: the neighbour one step closer to the nearest seed.
    std::map<unsigned long, unsigned long> towardsSeed;
    /// True when the seeds are targets (paths lead from a node to them), false when they are sources.
    bool seedsAreTargets = false;

    /// The shortest path of `node` in travel order: from its nearest source to node, or from node to its
    /// nearest target. Empty when node was not reached.
    std::vector<unsigned long> path(unsigned long node) const;
};

/// Shortest paths from source to every node it reaches. Empty with an error logged for an unknown node or
/// feature or a negative weight.
std::optional<ShortestPathTree> singleSourceShortestPaths(const Graph& graph, unsigned long source,
                                                          const std::string& weightFeature);
/// Shortest paths from every node that can reach target to target (against edge direction in the search).
std::optional<ShortestPathTree> singleTargetShortestPaths(const Graph& graph, unsigned long target,
                                                          const std::string& weightFeature);
/// Shortest paths from the nearest of several sources to every node they reach; an empty list reaches
/// nothing. Unknown sources are an error.
std::optional<ShortestPathTree> multipleSourceShortestPaths(const Graph& graph,
                                                            const std::vector<unsigned long>& sources,
                                                            const std::string& weightFeature);
/// Shortest paths from every node to the nearest of several targets it can reach.
std::optional<ShortestPathTree> multipleTargetShortestPaths(const Graph& graph,
                                                            const std::vector<unsigned long>& targets,
                                                            const std::string& weightFeature);

} // namespace Tarnwick::GraphUtils
