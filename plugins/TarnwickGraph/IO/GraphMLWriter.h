#pragma once

#include <iosfwd>
#include <string>

namespace Tarnwick {

class Graph;

/// Writes a Graph as GraphML through a Boost property tree and its XML writer (4-blank indentation,
/// encoding "utf-8").
///
/// Layout: root `graphml` with the GraphML namespace; `key` elements for "x", "y" (and "z" for a 3-D
/// graph) on nodes, then, with `exportFeatures`, one key per node feature and one per edge feature,
/// each with attr.name equal to its id and attr.type "double"; one `graph` (id "G", edgedefault
/// "directed" or "undirected") holding a `node` per node (id "n<id>", data x, y, [z], features) and an
/// `edge` per edge (source and target "n<id>", data features). Without `exportFeatures` the feature
/// keys and the feature data are both left out. Numbers are written in the shortest text that reads
/// back to the same double ("nan", "inf" and "-inf" for non-finite values).
class GraphMLWriter {
public:
    /// The document as text.
    static std::string write(const Graph& graph, bool exportFeatures);
};

} // namespace Tarnwick
