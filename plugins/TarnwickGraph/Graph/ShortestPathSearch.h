#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace Tarnwick {

/// Dijkstra's algorithm over one edge feature as weight, the engine behind the GraphUtils shortest-path
/// functions. Per-node state lives in arrays indexed by the node's rank in ascending id order (found by
/// binary search), so a search over a million nodes needs no hash maps: about 32 bytes per node plus the
/// heap. The binary heap uses lazy deletion and orders equal distances by ascending id.
class ShortestPathSearch {
public:
    /// Forward follows edges in their direction (searches from sources); Backward runs against it
    /// (searches towards targets). Undirected graphs behave the same both ways.
    enum class Direction { Forward, Backward };

    /// weightIdx must be a valid edge feature index of graph; the graph must outlive the search and stay
    /// unchanged while it is used.
    ShortestPathSearch(const Graph& graph, int weightIdx, Direction direction);

    /// Rank of a node id, or empty for an unknown id.
    std::optional<std::size_t> rankOf(unsigned long id) const;
    unsigned long idAt(std::size_t rank) const { return m_ids[rank]; }
    std::size_t size() const { return m_ids.size(); }

    /// Runs from the seeds (ranks, distance 0), stopping as soon as `stopAt` is settled when given.
    /// Returns false at the first negative weight met; negativeEdge() then names it (source, target).
    bool run(const std::vector<std::size_t>& seeds, std::optional<std::size_t> stopAt = std::nullopt);
    std::optional<std::pair<unsigned long, unsigned long>> negativeEdge() const { return m_negativeEdge; }

    /// Distance of a rank from its nearest seed; +infinity when unreached.
    double distance(std::size_t rank) const { return m_distance[rank]; }
    /// The rank one step closer to the nearest seed; empty for seeds and unreached nodes.
    std::optional<std::size_t> predecessor(std::size_t rank) const;

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    /// Rank of id, trying the ranks next to hint first (chain neighbours usually have adjacent ids).
    std::optional<std::size_t> rankNear(unsigned long id, std::size_t hint) const;
    /// Calls relax(neighbourRank, weight) for every edge leaving (Forward) or entering (Backward) rank;
    /// stops and returns false as soon as relax returns false.
    template <typename Relax>
    bool forEachStep(std::size_t rank, Relax&& relax) const;

    const Graph& m_graph;
    std::size_t m_weightIdx;
    Direction m_direction;
    std::vector<unsigned long> m_ids;                    ///< ascending
    std::vector<const Graph::Neighborhood*> m_adjacency; ///< by rank
    std::vector<double> m_distance;                      ///< by rank
    std::vector<std::size_t> m_predecessor;              ///< by rank; none for seeds and unreached
    std::optional<std::pair<unsigned long, unsigned long>> m_negativeEdge;
};

} // namespace Tarnwick
