#pragma once

#include <iosfwd>
#include <string>

namespace Tarnwick {

class Graph;

/// Writes a graph as a VTK XML PolyData file (.vtp) for VTK-based visualisation and modelling tools.
///
/// Each node is a point at its stored position (graph coordinates: the main job's LPS or RAS world
/// millimetres), each edge a two-point line from the smaller to the larger node id (undirected edges
/// once; directed edges from source to target). Point data: "node_id", "radius" (half the mean
/// "diameter" of the node's edges, 0 for a node without edges; only when the graph has the edge feature
/// "diameter") and every node feature by name. Cell data: every edge feature by name. Values are
/// written as base64 binary (little or big endian as this machine stores them), so every double,
/// NaN included, is kept exactly.
class VtpWriter {
public:
    /// Writes the document to `out`; false when the stream failed.
    static bool write(const Graph& graph, std::ostream& out);
    /// Writes `path` atomically: a failure leaves a file already there unchanged. False with the reason in
    /// `error`.
    static bool save(const Graph& graph, const std::string& path, std::string& error);
};

} // namespace Tarnwick
