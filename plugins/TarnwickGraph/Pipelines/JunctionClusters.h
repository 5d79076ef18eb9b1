#pragma once

#include <cstddef>
#include <map>
#include <vector>

namespace Tarnwick {

class Graph;

/// The junction clusters of an undirected centerline graph. A thinned vessel branches through a few
/// adjacent voxels of three or more neighbours (often a small triangle), so one branch point shows up
/// as a cluster of junction nodes. A cluster is a connected set of junction nodes (degree >= 3, self
/// loops not counted) plus the nodes of degree 2 whose two neighbours both lie in it (the third corner
/// of such a triangle). A junction without junction neighbours is a cluster of one.
///
/// Cost: O((nodes + edges) log nodes) time, O(junction nodes) memory.
class JunctionClusters {
public:
    explicit JunctionClusters(const Graph& graph);

    /// The id standing for the node's cluster (its smallest member), or the id itself outside clusters.
    unsigned long representative(unsigned long id) const;
    /// Number of clusters, each counting as one branch point.
    std::size_t clusterCount() const { return m_members.size(); }
    /// Number of nodes that merging every cluster into one node removes.
    std::size_t absorbedNodeCount() const;
    /// Representative -> members (ascending ids, the representative first).
    const std::map<unsigned long, std::vector<unsigned long>>& members() const { return m_members; }

    /// Replaces each cluster of two or more nodes by one node at the mean position of its members, linked
    /// to every outside neighbour of a member with that member's edge (features and attributes kept; of
    /// several members linked to the same neighbour, the smallest member's edge is kept). Returns the
    /// number of nodes removed. Afterwards no two junction nodes are adjacent.
    static std::size_t mergeInto(Graph& graph);

private:
    std::map<unsigned long, unsigned long> m_root; ///< member -> representative
    std::map<unsigned long, std::vector<unsigned long>> m_members;
};

} // namespace Tarnwick
