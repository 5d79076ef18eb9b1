#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <optional>
#include <string>

namespace Tarnwick {

class Graph;

/// Derives an edge feature from a node feature: every edge gets the sum, the difference or the average
/// of the chosen node feature at its two ends, written into "NodeFeatureSum", "NodeFeatureDifference"
/// or "NodeFeatureAverage" (created with default 0 when missing, overwritten otherwise). Works in place;
/// produces no output data.
///
/// The difference is |a - b| on an undirected graph and source minus target on a directed graph, so its
/// sign tells the direction of change along the edge.
///
/// Failures (error log, status InvalidInput, graph unchanged): "No node features found." and
/// "Selected node feature does not exist.".
class NodeToEdgeFeatureAlgorithm : public Algorithm {
public:
    enum Mode : int { Sum = 0, Difference = 1, Average = 2 };

    explicit NodeToEdgeFeatureAlgorithm(Graph& graph);

    /// Compatible when the selection holds exactly one Graph (other data are ignored).
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// Name of the edge feature written in `mode`; empty for an unknown mode.
    static std::string outputFeatureName(Mode mode);

    Parameter<Mode> mode{"mode", Sum, this};
    Parameter<std::string> nodeFeatureName{"nodeFeatureName", "no feature selected", this};
    /// Column used when no node feature is called nodeFeatureName.
    Parameter<std::optional<int>> nodeFeatureIndex{"nodeFeatureIndex", std::nullopt, this};

private:
    Graph& m_graph;
};

} // namespace Tarnwick
