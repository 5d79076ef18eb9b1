#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick::Bench {

/// The arrays of a synthetic vessel-like graph, as other tools can read them: node i (0-based) at
/// positions[3i..3i+2]; edge k joins nodes edges[2k] and edges[2k+1] and carries the features
/// features[2k] ("diameter") and features[2k+1] ("length").
struct GraphArrays {
    std::vector<double> positions;
    std::vector<long long> edges;
    std::vector<double> features;

    std::size_t nodeCount() const { return positions.size() / 3; }
    std::size_t edgeCount() const { return edges.size() / 2; }
};

/// A tree of chains of 20 nodes one unit apart, each chain branching off an earlier node, with
/// `edgeCount - nodeCount + 1` extra edges closing loops between nearby chains (at least the tree's
/// edges are made). Deterministic.
GraphArrays makeVesselArrays(std::size_t nodeCount, std::size_t edgeCount);

/// The arrays as an undirected 3-D Graph with ids 1..n and the edge features "diameter" and "length".
std::unique_ptr<Graph> toGraph(const GraphArrays& arrays);

/// Raw little-endian files "<prefix>.positions", "<prefix>.edges", "<prefix>.features" (float64,
/// int64, float64), for numpy.fromfile.
bool writeArrays(const GraphArrays& arrays, const std::string& prefix);
bool readArrays(const std::string& prefix, GraphArrays& arrays);

} // namespace Tarnwick::Bench
