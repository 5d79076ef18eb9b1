#pragma once

#include <iosfwd>

namespace Tarnwick {

class Graph;

/// Writes a Graph as GraphML, streaming the text directly. The document is byte for byte the one the
/// Boost property-tree XML writer produces (4-blank indentation, encoding "utf-8", its escaping of
/// `< > & " '` and of all-blank texts) for the tree of the layout below, after the rewrite that turns
/// every key's placeholder attribute into attr.name and attr.type.
///
/// Layout: root `graphml` with the GraphML namespace; `key` elements for "x", "y" (and "z" for a 3-D
/// graph) on nodes, then, with `exportFeatures`, one key per node feature and one per edge feature,
/// each with attr.name equal to its id and attr.type "double"; one `graph` (id "G", edgedefault
/// "directed" or "undirected") holding a `node` per node (id "n<id>", data x, y, [z], features) and an
/// `edge` per edge (source and target "n<id>", data features). Without `exportFeatures` the feature
/// keys and the feature data are both left out. Numbers are written in the shortest text that reads
/// back to the same double ("nan", "inf" and "-inf" for non-finite feature values). A graph whose matrixToWorld is
/// the LPS-to-RAS mirror diag(-1, -1, 1) holds RAS positions: a graph key "coordinateFrame" (string) after
/// the other keys and the graph's first child `<data key="coordinateFrame">RAS</data>` say so. Positions
/// are written as stored, never moved by matrixToWorld.
///
/// Cost: one pass over nodes and edges; memory is a 1 MiB buffer besides the graph.
class GraphMLWriter {
public:
    /// Writes the document to `out`; false when the stream failed. Throws std::invalid_argument, before
    /// writing anything, when a written position component (x, y, and z for a 3-D graph) is not finite,
    /// naming the node and the axis: GraphML positions must be finite numbers.
    static bool write(const Graph& graph, bool exportFeatures, std::ostream& out);
};

} // namespace Tarnwick
