#pragma once

#include <iosfwd>

namespace Tarnwick {

class Graph;

/// The native, lossless binary record of a Graph inside the host's data files. It keeps the world
/// matrix, type, dimension, node ids, the largest id ever used, feature descriptors with their
/// defaults, all feature values and the attributes of nodes and edges.
///
/// Layout (native byte order, no padding; u8/u32/u64 unsigned, f64 IEEE double, magics without a
/// terminating zero):
///   "GRAPH:" "METADATA:" 16 x f64 matrixToWorld (column-major) | u8 directed | u8 two-dimensional |
///   u64 maxNodeId | u32 n, n x (u32 L, L name bytes, f64 default) | u32 m, m x (same) |
///   "NODES:" u64 count, count x (u64 id, 3 x f64 position, n x f64, attributes) |
///   "EDGES:" u64 count, count x (u64 from, u64 to, m x f64, attributes)
/// An attribute block is u32 L followed by L bytes of the attributes' JSON text (PropertiesIO format 4);
/// an empty attribute set is L = 0. Nodes are written in ascending id order; edges in the order of
/// Graph::forEachEdge, each undirected edge once as (u, v) with u <= v.
class GraphRecord {
public:
    /// Writes the record of `graph` to `out`. Returns false, with an error logged, when a feature name
    /// or attribute text does not fit a u32 length, an attribute set cannot be serialised or the edge
    /// count does not fit the record; what was already written stays in the stream.
    static bool write(const Graph& graph, std::ostream& out);

    /// Reads one record from `in` into `graph` (normally a fresh undirected 3-D graph): its feature
    /// descriptors are cleared first, then the record's are applied. Returns false with an error logged
    /// for a wrong magic, unreadable attributes, an edge between unknown nodes, or a stream that ends
    /// inside the record (reported with the message of the section it ends in). Lengths and counts are
    /// never trusted: reading stops at the end of the stream, and memory grows only with the bytes read.
    /// A failed read leaves the graph partly filled.
    static bool read(Graph& graph, std::istream& in);
};

} // namespace Tarnwick
