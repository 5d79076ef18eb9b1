#pragma once

#include <TarnwickGraph/Pipelines/GraphSegmentTable.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class Graph;

/// Writes the segment table of a graph (computeGraphSegments) as CSV to `location`
/// (writeGraphSegmentsCsv). Registered as "GraphSegmentTable" ("Pipelines;Graph Segment Table") in the
/// plug-in's second factory. The graph is not changed and there is no output data. Status: Success;
/// InvalidInput with the reason logged when the location does not end in .csv, its folder does not exist
/// or the root is refused; Error when writing fails.
class GraphSegmentTableAlgorithm : public Algorithm {
public:
    /// graph is borrowed.
    explicit GraphSegmentTableAlgorithm(const Graph& graph);

    /// Compatible with exactly one graph.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// The segments of the last successful run.
    const std::vector<GraphSegment>& segments() const { return m_segments; }

    /// The CSV file to write.
    Parameter<std::string> location{"location", "", this};
    /// The root node of its component; unset: the leaf end of the thickest end segment of each component.
    Parameter<std::optional<int>> root{"root", std::nullopt, this};

private:
    const Graph& m_graph;
    std::vector<GraphSegment> m_segments;
};

} // namespace Tarnwick
