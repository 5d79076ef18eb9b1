#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <Eigen/Core>

#include <optional>
#include <vector>

namespace Tarnwick::Test {

/// Adds one node per point, joined in order by undirected edges without features; the first node is also
/// joined to `attachTo` when given. Returns the new ids in point order.
inline std::vector<unsigned long> addPolyline(Graph& graph, const std::vector<Eigen::Vector3d>& points,
                                              std::optional<unsigned long> attachTo = std::nullopt) {
    std::vector<unsigned long> ids;
    for (const Eigen::Vector3d& point : points) {
        ids.push_back(graph.addNode(Graph::NodeInfo(point, {})));
        const std::optional<unsigned long> previous = ids.size() > 1 ? std::optional(ids[ids.size() - 2]) : attachTo;
        if (previous)
            graph.addEdge(*previous, ids.back(), {});
    }
    return ids;
}

/// Points from `from` to `to` (both included) about `spacing` apart.
inline std::vector<Eigen::Vector3d> straightPoints(const Eigen::Vector3d& from, const Eigen::Vector3d& to,
                                                   double spacing) {
    const int steps = std::max(1, static_cast<int>(std::lround((to - from).norm() / spacing)));
    std::vector<Eigen::Vector3d> points;
    for (int i = 0; i <= steps; ++i)
        points.push_back(from + (to - from) * (static_cast<double>(i) / steps));
    return points;
}

} // namespace Tarnwick::Test
