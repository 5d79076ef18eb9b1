#include <TarnwickGraph/Pipelines/GraphSummary.h>

#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Pipelines/JunctionClusters.h>

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

namespace Tarnwick {

GraphSummary summarizeGraph(const Graph& graph) {
    GraphSummary result;
    result.nodes = graph.numNodes();
    result.edges = graph.numEdges();
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
        result.endpoints += neighbours.size() - neighbours.count(id) == 1;
    });
    // Each cluster stands for one node: count the edges between distinct merged nodes.
    const JunctionClusters clusters(graph);
    std::set<std::pair<unsigned long, unsigned long>> mergedEdges;
    graph.forEachEdge([&](const Graph::EdgeInfo&, unsigned long from, unsigned long to) {
        const unsigned long a = clusters.representative(from), b = clusters.representative(to);
        if (a != b)
            mergedEdges.emplace(std::min(a, b), std::max(a, b));
    });
    result.branchPoints = clusters.clusterCount();
    const long long mergedNodes = static_cast<long long>(result.nodes - clusters.absorbedNodeCount());
    result.components = PartitionGraphsAlgorithm::computeConnectedComponents(graph).size();
    result.cycles =
        static_cast<long long>(mergedEdges.size()) - mergedNodes + static_cast<long long>(result.components);

    const auto length = graph.getEdgeFeatureIdx("length");
    const auto diameter = graph.getEdgeFeatureIdx("diameter");
    double smallest = std::numeric_limits<double>::infinity(), largest = 0.0;
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        if (length)
            result.totalLength += edge.features[*length];
        if (diameter && edge.features[*diameter] > 0.0) {
            smallest = std::min(smallest, edge.features[*diameter]);
            largest = std::max(largest, edge.features[*diameter]);
        }
    });
    result.minDiameter = largest > 0.0 ? smallest : 0.0;
    result.maxDiameter = largest;
    return result;
}

} // namespace Tarnwick
