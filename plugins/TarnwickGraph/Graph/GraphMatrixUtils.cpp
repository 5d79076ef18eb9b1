#include <TarnwickGraph/Graph/GraphMatrixUtils.h>

#include <TarnwickCore/Log.h>

namespace Tarnwick::GraphMatrixUtils {

SequentialIndex graphToSequentialIndex(const Graph& graph) {
    SequentialIndex index;
    index.idToIndex.reserve(graph.numNodes());
    index.indexToId.reserve(graph.numNodes());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&) {
        index.idToIndex.emplace(id, static_cast<int>(index.indexToId.size()));
        index.indexToId.push_back(id);
    });
    return index;
}

Eigen::SparseMatrix<double> adjacencyMatrix(const Graph& graph) {
    const SequentialIndex index = graphToSequentialIndex(graph);
    const bool undirected = graph.type() == Graph::Undirected;
    std::vector<Eigen::Triplet<double>> entries;
    entries.reserve(static_cast<std::size_t>(graph.numEdges()) * (undirected ? 2 : 1));
    graph.forEachEdge([&](const Graph::EdgeInfo&, unsigned long u, unsigned long v) {
        const int i = index.idToIndex.at(u);
        const int j = index.idToIndex.at(v);
        if (!undirected) {
            entries.emplace_back(i, j, 1.0);
        } else if (i == j) {
            entries.emplace_back(i, i, 2.0);
        } else {
            entries.emplace_back(i, j, 1.0);
            entries.emplace_back(j, i, 1.0);
        }
    });
    const auto n = static_cast<Eigen::Index>(index.indexToId.size());
    Eigen::SparseMatrix<double> matrix(n, n);
    matrix.setFromTriplets(entries.begin(), entries.end());
    return matrix;
}

Eigen::SparseMatrix<double> degreeMatrix(const Graph& graph, Graph::DegreeType type) {
    std::vector<Eigen::Triplet<double>> entries;
    entries.reserve(graph.numNodes());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&) {
        const auto i = static_cast<int>(entries.size());
        entries.emplace_back(i, i, static_cast<double>(graph.degree(id, type)));
    });
    const auto n = static_cast<Eigen::Index>(entries.size());
    Eigen::SparseMatrix<double> matrix(n, n);
    matrix.setFromTriplets(entries.begin(), entries.end());
    return matrix;
}

Eigen::MatrixX3d nodePositions(const Graph& graph) {
    Eigen::MatrixX3d positions(static_cast<Eigen::Index>(graph.numNodes()), 3);
    Eigen::Index row = 0;
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& info) { positions.row(row++) = info.position; });
    return positions;
}

bool setNodePositions(Graph& graph, const Eigen::MatrixX3d& positions) {
    if (positions.rows() != static_cast<Eigen::Index>(graph.numNodes())) {
        TW_LOG_ERROR("Cannot set node positions: {} rows given for {} nodes.", positions.rows(), graph.numNodes());
        return false;
    }
    Eigen::Index row = 0;
    graph.editEachNode([&](unsigned long, Graph::NodeInfo& info) { info.position = positions.row(row++); });
    return true;
}

Eigen::MatrixXd nodeFeatures(const Graph& graph) {
    const auto columns = static_cast<Eigen::Index>(graph.nodeFeatureDescriptors().size());
    Eigen::MatrixXd features(static_cast<Eigen::Index>(graph.numNodes()), columns);
    Eigen::Index row = 0;
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& info) {
        features.row(row++) = Eigen::Map<const Eigen::RowVectorXd>(info.features.data(), columns);
    });
    return features;
}

} // namespace Tarnwick::GraphMatrixUtils
