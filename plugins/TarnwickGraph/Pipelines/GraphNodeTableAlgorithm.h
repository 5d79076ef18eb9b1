#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <iosfwd>
#include <string>

namespace Tarnwick {

class Graph;

/// Writes the node table of a graph as CSV to `location`, one row per node in ascending id order:
///
///   node_id,x,y,z,degree,diameter_mm,kind
///
/// x, y, z: the stored position (graph coordinates: the main job's LPS or RAS world millimetres, or
/// image millimetres for a .tnw output); degree: the number of neighbours, edges followed regardless of
/// direction; diameter_mm: the mean "diameter" of the node's edges (empty without that feature or without
/// edges); kind: "end" (degree 1), "inner" (2), "junction" (3 or more) or "isolated" (0). Registered as
/// "GraphNodeTable" ("Pipelines;Graph Node Table") in the plug-in's second factory. The graph is not
/// changed and there is no output data. Status: Success; InvalidInput with the reason logged when the
/// location does not end in .csv or its folder does not exist; Error when writing fails. O(N + E).
class GraphNodeTableAlgorithm : public Algorithm {
public:
    /// graph is borrowed.
    explicit GraphNodeTableAlgorithm(const Graph& graph);

    /// Compatible with exactly one graph.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// Writes the table (header and rows) to `out`.
    static void writeCsv(const Graph& graph, std::ostream& out);

    /// The CSV file to write.
    Parameter<std::string> location{"location", "", this};

private:
    const Graph& m_graph;
};

} // namespace Tarnwick
