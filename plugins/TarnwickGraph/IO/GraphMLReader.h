#pragma once

#include <iosfwd>
#include <memory>

namespace Tarnwick {

class Graph;

/// Reads a Graph from GraphML text. The whole text is parsed by Boost.PropertyTree's XML parser and
/// read with the property tree's rules for text and attributes (see the source for why the tree
/// itself is not built).
///
/// What is taken from the file:
/// - `key` elements: the id names the feature (attr.name and attr.type are not read). Node keys "x",
///   "y", "z" are the position; the graph is 3-D when a node key "z" is declared. Every other node key
///   is a node feature and every edge key an edge feature, in file order. A key's `default` child, when
///   present, is the feature's default value; otherwise 0.
/// - `graph`: edgedefault "directed" gives a directed graph, anything else or nothing an undirected one.
///   A graph `data` element of key "coordinateFrame" with the text "RAS" marks RAS positions: the graph's
///   matrixToWorld becomes the LPS-to-RAS mirror diag(-1, -1, 1). "LPS" or no marker leaves it the identity;
///   any other text is an error.
/// - `node` elements in file order: any string id; `data` children set position and features. Nodes get
///   the ids Graph::addNode assigns; file ids are only used to resolve edges.
/// - `edge` elements: source and target name nodes by their file ids; `data` children set features.
/// A declared value without a `data` element gets the key's default; `data` with an undeclared key
/// (for example "z" in a 2-D file) is ignored.
///
/// Errors are logged and the result is null; never a partial graph:
/// "Could not parse GraphML input: <parser message> (line <n>)" (also for elements nested deeper than
/// 256 levels, refused before parsing), "Parsed GraphML tree is empty", and
/// "Error during parsing of file: <reason>" for missing elements, duplicate node ids, values that are
/// not numbers (naming the node or edge and the key) and "Edge refers to undefined node: a or b".
/// On success logs "Imported 3D graph with N nodes, M edges, E edge feature(s) and F node feature(s)."
/// at info level. Memory: the text, the parser's document (about 1 kB per node or edge element) and the
/// graph; time is linear in the size of the text.
class GraphMLReader {
public:
    static std::unique_ptr<Graph> read(std::istream& in);
};

} // namespace Tarnwick
