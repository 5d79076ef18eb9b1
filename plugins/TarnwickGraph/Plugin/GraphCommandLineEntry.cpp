#include <TarnwickGraph/Plugin/GraphCommandLineEntry.h>

#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <utility>

TARNWICK_PLUGIN_EXPORT int tarnwickGraphSummarize(const Tarnwick::Data* data, TarnwickGraphSummary* summary) {
    using Tarnwick::Graph;
    const auto* graph = dynamic_cast<const Graph*>(data);
    if (!graph || !summary)
        return 1;
    TarnwickGraphSummary result{};
    result.nodes = graph->numNodes();
    result.edges = graph->numEdges();
    // A skeleton branches through a cluster of adjacent junction nodes (often a small triangle), so each
    // cluster is merged into one branch point before branch points and cycles are counted.
    std::map<unsigned long, unsigned long> cluster; // junction node -> parent in a union-find forest
    const auto root = [&](unsigned long id) {
        while (cluster.at(id) != id)
            id = cluster[id] = cluster.at(cluster.at(id));
        return id;
    };
    graph->forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
        const std::size_t degree = neighbours.size() - neighbours.count(id);
        if (degree >= 3)
            cluster.emplace(id, id);
        result.endpoints += degree == 1;
    });
    const auto merged = [&](unsigned long id) { return cluster.count(id) ? root(id) : id; };
    graph->forEachEdge([&](const Graph::EdgeInfo&, unsigned long from, unsigned long to) {
        if (from != to && cluster.count(from) && cluster.count(to))
            cluster[root(from)] = root(to);
    });
    std::set<std::pair<unsigned long, unsigned long>> mergedEdges;
    graph->forEachEdge([&](const Graph::EdgeInfo&, unsigned long from, unsigned long to) {
        const unsigned long a = merged(from), b = merged(to);
        if (a != b)
            mergedEdges.emplace(std::min(a, b), std::max(a, b));
    });
    long long mergedNodes = static_cast<long long>(result.nodes);
    for (const auto& [id, parent] : cluster)
        if (root(id) != id)
            --mergedNodes;
        else
            ++result.branchPoints;
    result.components = Tarnwick::PartitionGraphsAlgorithm::computeConnectedComponents(*graph).size();
    result.cycles =
        static_cast<long long>(mergedEdges.size()) - mergedNodes + static_cast<long long>(result.components);
    const auto length = graph->getEdgeFeatureIdx("length");
    const auto diameter = graph->getEdgeFeatureIdx("diameter");
    double smallest = std::numeric_limits<double>::infinity(), largest = 0.0;
    graph->forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        if (length)
            result.totalLength += edge.features[*length];
        if (diameter && edge.features[*diameter] > 0.0) {
            smallest = std::min(smallest, edge.features[*diameter]);
            largest = std::max(largest, edge.features[*diameter]);
        }
    });
    result.minDiameter = largest > 0.0 ? smallest : 0.0;
    result.maxDiameter = largest;
    *summary = result;
    return 0;
}

TARNWICK_PLUGIN_EXPORT int tarnwickGraphMoveToWorld(Tarnwick::Data* data, int ras) {
    auto* graph = dynamic_cast<Tarnwick::Graph*>(data);
    if (!graph)
        return 1;
    Eigen::Matrix4d toWorld = graph->matrixToWorld();
    if (ras)
        toWorld = Eigen::Vector4d(-1, -1, 1, 1).asDiagonal() * toWorld;
    Tarnwick::GraphUtils::transformNodePositions(*graph, toWorld);
    graph->setMatrixToWorld(Eigen::Matrix4d::Identity());
    return 0;
}
