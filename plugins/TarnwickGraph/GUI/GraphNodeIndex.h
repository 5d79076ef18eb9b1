#pragma once

#include <Eigen/Core>

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

namespace Tarnwick {

class Graph;

/// The world positions of a graph's nodes in flat arrays (ascending id) with a uniform grid over them,
/// so that the hit tests of the mouse interactions answer within a frame on graphs of a million
/// nodes, where a sweep over the node table takes far longer.
///
/// Every query is against a line (origin, direction): the nodes whose distance to it is below a
/// maximum, optionally only those whose position along the line lies within a half length of the
/// origin (a slab). The grid is built on the first query after a change: O(N); a query visits every
/// cell (about N / 8 of them) and the nodes of the cells the line passes near.
class GraphNodeIndex {
public:
    static constexpr double unlimited = std::numeric_limits<double>::infinity();

    /// Reads every node of `graph`, mapping its position by the graph's matrixToWorld(). O(N).
    void rebuild(const Graph& graph);
    /// Re-reads the listed nodes after they were moved, added or removed: O(k log N), plus O(N) when
    /// nodes were removed or inserted below the largest indexed id.
    void update(const Graph& graph, const std::vector<unsigned long>& ids);
    /// Forgets everything; the next isCurrentFor() is false.
    void invalidate();
    /// Whether the index was built from this graph object and still agrees with its node count and
    /// matrix (a cheap check: positions changed elsewhere must be reported with update() or
    /// invalidate()).
    bool isCurrentFor(const Graph& graph) const;

    /// The node nearest to the line among those closer than `maxDistance` (and within `halfLength`
    /// along it); ties go to the smallest id. `direction` need not be unit length.
    std::optional<unsigned long> nearest(const Eigen::Vector3d& origin, const Eigen::Vector3d& direction,
                                         double maxDistance, double halfLength = unlimited) const;
    /// Every node closer than `maxDistance` to the line (and within `halfLength` along it), ascending id.
    std::vector<unsigned long> within(const Eigen::Vector3d& origin, const Eigen::Vector3d& direction,
                                      double maxDistance, double halfLength = unlimited) const;

private:
    /// Calls visit(slot, distance) for every node passing the test; the slots of one cell in
    /// ascending order.
    template <typename Visit>
    void query(const Eigen::Vector3d& origin, const Eigen::Vector3d& direction, double maxDistance, double halfLength,
               Visit&& visit) const;
    void buildGrid() const;

    const Graph* m_graph = nullptr;
    Eigen::Matrix4d m_matrix = Eigen::Matrix4d::Identity();
    std::vector<unsigned long> m_ids;     ///< ascending
    std::vector<Eigen::Vector3d> m_world; ///< world position of m_ids[i]

    // The grid, rebuilt lazily after changes.
    mutable bool m_gridValid = false;
    mutable Eigen::Vector3d m_gridOrigin = Eigen::Vector3d::Zero();
    mutable Eigen::Vector3d m_cellSize = Eigen::Vector3d::Ones();
    mutable Eigen::Vector3i m_cells = Eigen::Vector3i::Ones();
    mutable std::vector<std::size_t> m_cellStart; ///< cells + 1 offsets into m_cellSlots
    mutable std::vector<std::size_t> m_cellSlots; ///< slots sorted by cell, ascending within a cell
};

} // namespace Tarnwick
