#include <TarnwickGraph/Plugin/GraphCommandLineEntry.h>

#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>
#include <TarnwickGraph/Graph/Graph.h>

#include <algorithm>
#include <limits>

TARNWICK_PLUGIN_EXPORT int tarnwickGraphSummarize(const Tarnwick::Data* data, TarnwickGraphSummary* summary) {
    using Tarnwick::Graph;
    const auto* graph = dynamic_cast<const Graph*>(data);
    if (!graph || !summary)
        return 1;
    TarnwickGraphSummary result{};
    result.nodes = graph->numNodes();
    result.edges = graph->numEdges();
    graph->forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
        const std::size_t degree = neighbours.size() - neighbours.count(id);
        result.branchPoints += degree >= 3;
        result.endpoints += degree == 1;
    });
    result.components = Tarnwick::PartitionGraphsAlgorithm::computeConnectedComponents(*graph).size();
    result.cycles = static_cast<long long>(result.edges) - static_cast<long long>(result.nodes) +
                    static_cast<long long>(result.components);
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
    const Eigen::Matrix3d linear = toWorld.topLeftCorner<3, 3>();
    const Eigen::Vector3d offset = toWorld.topRightCorner<3, 1>();
    graph->editEachNode(
        [&](unsigned long, Tarnwick::Graph::NodeInfo& node) { node.position = linear * node.position + offset; });
    graph->setMatrixToWorld(Eigen::Matrix4d::Identity());
    return 0;
}
