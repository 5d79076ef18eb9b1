#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>
#include <vector>

namespace Tarnwick::Test {

/// An undirected chain through the points in order (node i + 1 at points[i]), no node features.
std::unique_ptr<Graph> makeChain(const std::vector<Eigen::Vector3d>& points);

/// n points along the x axis, `spacing` apart, each displaced perpendicular to the axis (in y and z) by a
/// reproducible uniform offset in [-noise, noise]; the two end points are not displaced.
std::vector<Eigen::Vector3d> noisyLine(int n, double spacing, double noise, std::uint32_t seed);

/// An undirected graph of `nodes` nodes at reproducible random positions in [0, 10)^3 and `edges`
/// distinct random edges (no self loops; capped at the number of node pairs).
std::unique_ptr<Graph> makeRandomGraph(int nodes, int edges, std::uint32_t seed);

/// Root mean square of the nodes' distances from the x axis.
double rmsDistanceFromXAxis(const Graph& graph);
/// Sum of the Euclidean lengths of all edges.
double totalEdgeLength(const Graph& graph);
/// Node positions in ascending id order.
std::vector<Eigen::Vector3d> positions(const Graph& graph);

} // namespace Tarnwick::Test
