#include "GraphArrays.h"

#include <Eigen/Geometry>
#include <fmt/format.h>

#include <stdexcept>
#include <unordered_set>
#include <vector>

namespace py = pybind11;

namespace Tarnwick::Python::GraphArrays {

namespace {

using Descriptors = std::vector<Graph::FeatureDescriptor>;

/// The first column of each feature name, as (name, column index).
std::vector<std::pair<std::string, int>> firstColumns(const Descriptors& descriptors) {
    std::vector<std::pair<std::string, int>> columns;
    std::unordered_set<std::string> seen;
    for (int i = 0; i < static_cast<int>(descriptors.size()); ++i)
        if (seen.insert(descriptors[i].name).second)
            columns.emplace_back(descriptors[i].name, i);
    return columns;
}

template <typename ForEach>
Columns featureColumns(const Descriptors& descriptors, std::size_t rows, ForEach&& forEach) {
    Columns columns;
    const auto names = firstColumns(descriptors);
    std::vector<double*> targets;
    for (const auto& [name, index] : names) {
        py::array_t<double> column(static_cast<py::ssize_t>(rows));
        targets.push_back(column.mutable_data());
        columns.emplace(name, std::move(column));
    }
    std::size_t row = 0;
    forEach([&](const std::vector<double>& features) {
        for (std::size_t c = 0; c < names.size(); ++c)
            targets[c][row] = features[names[c].second];
        ++row;
    });
    return columns;
}

/// Descriptor list of the columns and their value arrays in the same order, checked against `rows`.
std::pair<Descriptors, std::vector<const double*>> checkedColumns(const Columns& columns, std::size_t rows,
                                                                  const char* what) {
    Descriptors descriptors;
    std::vector<const double*> values;
    for (const auto& [name, column] : columns) {
        if (column.ndim() != 1 || static_cast<std::size_t>(column.shape(0)) != rows)
            throw std::invalid_argument(fmt::format("The {} feature '{}' needs {} values", what, name, rows));
        descriptors.push_back({name, 0.0});
        values.push_back(column.data());
    }
    return {descriptors, values};
}

} // namespace

py::array_t<std::uint64_t> nodeIds(const Graph& graph) {
    py::array_t<std::uint64_t> ids(static_cast<py::ssize_t>(graph.numNodes()));
    std::uint64_t* out = ids.mutable_data();
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&) { *out++ = id; });
    return ids;
}

py::array_t<double> worldPositions(const Graph& graph) {
    py::array_t<double> positions({static_cast<py::ssize_t>(graph.numNodes()), py::ssize_t(3)});
    double* out = positions.mutable_data();
    const Eigen::Matrix4d toWorld = graph.matrixToWorld();
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) {
        const Eigen::Vector3d world = (toWorld * node.position.homogeneous()).hnormalized();
        for (int a = 0; a < 3; ++a)
            *out++ = world[a];
    });
    return positions;
}

py::array_t<std::uint64_t> edges(const Graph& graph) {
    py::array_t<std::uint64_t> pairs({static_cast<py::ssize_t>(graph.numEdges()), py::ssize_t(2)});
    std::uint64_t* out = pairs.mutable_data();
    graph.forEachEdge([&](const Graph::EdgeInfo&, unsigned long from, unsigned long to) {
        *out++ = from;
        *out++ = to;
    });
    return pairs;
}

Columns nodeFeatures(const Graph& graph) {
    return featureColumns(graph.nodeFeatureDescriptors(), graph.numNodes(), [&](const auto& take) {
        graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { take(node.features); });
    });
}

Columns edgeFeatures(const Graph& graph) {
    return featureColumns(graph.edgeFeatureDescriptors(), graph.numEdges(), [&](const auto& take) {
        graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) { take(edge.features); });
    });
}

std::unique_ptr<Graph> fromArrays(const py::array_t<std::uint64_t>& ids, const py::array_t<double>& positions,
                                  const py::array_t<std::uint64_t>& edges, const Columns& nodeFeatures,
                                  const Columns& edgeFeatures, bool directed) {
    if (ids.ndim() != 1)
        throw std::invalid_argument("Node ids must be a 1-D array");
    const auto numNodes = static_cast<std::size_t>(ids.shape(0));
    if (positions.ndim() != 2 || static_cast<std::size_t>(positions.shape(0)) != numNodes || positions.shape(1) != 3)
        throw std::invalid_argument(fmt::format("Positions must be an array of shape ({}, 3)", numNodes));
    if (edges.ndim() != 2 || edges.shape(1) != 2)
        throw std::invalid_argument("Edges must be an array of shape (M, 2)");
    const auto numEdges = static_cast<std::size_t>(edges.shape(0));
    const auto [nodeDescriptors, nodeValues] = checkedColumns(nodeFeatures, numNodes, "node");
    const auto [edgeDescriptors, edgeValues] = checkedColumns(edgeFeatures, numEdges, "edge");

    auto graph = std::make_unique<Graph>(directed ? Graph::Directed : Graph::Undirected, Graph::Dim3D);
    graph->clearFeatureDescriptors();
    graph->addNodeFeatureDescriptors(nodeDescriptors);
    graph->addEdgeFeatureDescriptors(edgeDescriptors);
    const auto id = ids.unchecked<1>();
    const auto position = positions.unchecked<2>();
    for (std::size_t n = 0; n < numNodes; ++n) {
        if (graph->hasNode(id(n)))
            throw std::invalid_argument(fmt::format("The node id {} appears twice", id(n)));
        std::vector<double> features;
        for (const double* column : nodeValues)
            features.push_back(column[n]);
        graph->addOrReplaceNode(id(n), Graph::NodeInfo({position(n, 0), position(n, 1), position(n, 2)}, features));
    }
    const auto pair = edges.unchecked<2>();
    for (std::size_t e = 0; e < numEdges; ++e) {
        if (!graph->hasNode(pair(e, 0)) || !graph->hasNode(pair(e, 1)))
            throw std::invalid_argument(
                fmt::format("Edge {} joins {} and {}, which are not both nodes", e, pair(e, 0), pair(e, 1)));
        std::vector<double> features;
        for (const double* column : edgeValues)
            features.push_back(column[e]);
        graph->addEdge(pair(e, 0), pair(e, 1), Graph::EdgeInfo(features));
    }
    return graph;
}

} // namespace Tarnwick::Python::GraphArrays
