#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

class Graph;
class SharedImageSet;

/// Removes the cycles of an undirected graph by keeping a minimum spanning forest (Kruskal) under a
/// per-edge sort key, and optionally removes the chains left dangling by the cut edges. The input is
/// never changed; the result is a copy handed out by takeOutput().
///
/// The key is written into the edge feature "mstSortKey"; small keys are kept first. Every mode takes
/// a reciprocal, so large values are preferred; a value of exactly 0 gets the key 100 (cut before any
/// measured edge). A NaN key stays NaN and is sorted last, so such an edge is kept only when no other
/// edge joins its ends.
/// - EdgeLength: the edge feature named `edgeFeatureName`, or the Euclidean length ("length") when the
///   graph has no such feature; with `pruneBySegment` summed over each segment ("accumulatedFeature").
/// - Diameter: "diameter", which must exist and not be all zero.
/// - WeightedDiameterEdgeLength: 1 / (diameter / max * length / max); with `pruneBySegment` the segment
///   mean of "diameter" ("accumulatedFeature") and the segment sum of "length" ("accumulatedEdgeLengths")
///   are used instead, and a zero accumulated diameter gives 100.
/// - UserDefined: the edge feature `edgeFeatureName`; with `pruneBySegment` summed over each segment.
/// A segment is a maximal chain of edges whose inner nodes have two neighbours (GraphUtils).
///
/// With a label map and a mode that needs diameters, missing or all-zero diameters are measured in it
/// first (ComputeCommonGraphFeaturesAlgorithm::computeDiameters, zero edges filled from their
/// neighbours); the input graph still stays unchanged.
///
/// `edgeFeatureName` is hidden in the modes that do not read it (Diameter, WeightedDiameterEdgeLength).
class MinimumSpanningTreeAlgorithm : public Algorithm {
public:
    enum WeightMode : int { EdgeLength = 0, Diameter = 1, WeightedDiameterEdgeLength = 2, UserDefined = 3 };

    /// An edge of the Kruskal input: sequential node indices and the sort key.
    struct KeyedEdge {
        int from = 0;
        int to = 0;
        double key = 0.0;
    };
    struct SpanningForest {
        std::vector<KeyedEdge> tree;     ///< kept edges, in ascending key order
        std::vector<KeyedEdge> rejected; ///< edges that would close a cycle
    };

    /// labelMap is optional (null); it only serves to measure diameters.
    MinimumSpanningTreeAlgorithm(Graph& graph, SharedImageSet* labelMap);

    /// Compatible with exactly one Graph plus at most one image set (the label map).
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    // The two steps of compute(), working on the copy of the input made there (outside compute() they
    // have nothing to work on and do nothing).

    /// Fills "mstSortKey" (column keyFeatureIdx of the working copy) for the current weightMode. Logs the
    /// mode and returns false with the reason logged when a needed feature is missing.
    bool buildMstSortKey(int keyFeatureIdx);
    /// Removes the edges Kruskal rejects and, with pruneBySegment, the chains they leave dangling.
    void applyKruskalAndSegmentPrune(int keyFeatureIdx);

    Parameter<WeightMode> weightMode{"weightMode", EdgeLength, this};
    Parameter<std::string> edgeFeatureName{"edgeFeatureName", "", this};
    Parameter<bool> pruneBySegment{"pruneBySegment", false, this};

private:
    void updateVisibility();
    bool ensureDiameters();

    Graph& m_graph;
    SharedImageSet* m_labelMap;
    std::unique_ptr<Graph> m_result; ///< the working copy during compute(); then moved to the output
};

/// Kruskal's algorithm over indices 0 .. max index: sorts by key (NaN last; equal keys in no defined
/// order) and keeps every edge that joins two different trees. O(E log E + E alpha(N)).
MinimumSpanningTreeAlgorithm::SpanningForest
getMinimumSpanningTree(std::vector<MinimumSpanningTreeAlgorithm::KeyedEdge> edges);
/// Root of i's set, re-pointing every node passed to its grandparent (path halving).
int findParent(std::vector<int>& parent, int i);
/// Unites the sets of a and b by rank (the root of higher or equal rank becomes the parent; equal ranks
/// grow by one). Returns false when they were already one set.
bool unionSets(std::vector<int>& parent, std::vector<int>& rank, int a, int b);

} // namespace Tarnwick
