#pragma once

#include <iosfwd>
#include <memory>

namespace Tarnwick {

class Graph;

/// Reads a Graph from GraphML text in one streaming pass (XmlPullParser), with the property tree's
/// rules for text and attributes: an element's text joins its text and CDATA pieces, the first of two
/// attributes of one name wins, entities are decoded.
///
/// What is taken from the file:
/// - `key` elements, all before the `graph` element: the id names the feature (attr.name and
///   attr.type are not read). Node keys "x", "y", "z" are the position; the graph is 3-D when a node
///   key "z" is declared. Every other node key is a node feature and every edge key an edge feature,
///   in file order. A key's `default` child, when
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
/// "Could not parse GraphML input: <parser message> (line <n>)" (also for end tags that do not match
/// their start tags; "... elements nested deeper than 256 levels" without a line), "Parsed GraphML tree
/// is empty", and
/// "Error during parsing of file: <reason>" for missing elements, duplicate node ids, values that are
/// not numbers (naming the node or edge and the key) and "Edge refers to undefined node: a or b".
/// On success logs "Imported 3D graph with N nodes, M edges, E edge feature(s) and F node feature(s)."
/// at info level. An error in the XML is reported rather than one in the graph, wherever both are.
/// Memory: the graph, the map from file ids to node ids (about 70 bytes per node) and a 1 MiB buffer;
/// time is linear in the size of the text.
class GraphMLReader {
public:
    static std::unique_ptr<Graph> read(std::istream& in);
};

} // namespace Tarnwick
