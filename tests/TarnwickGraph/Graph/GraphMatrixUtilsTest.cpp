#include "GraphTestGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Graph/GraphMatrixUtils.h>

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

using Tarnwick::Test::makeGraph;

TEST(GraphSequentialIndexTest, NumbersIdsInAscendingOrder) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    for (unsigned long id : {40ul, 7ul, 0ul, 19ul})
        graph.addOrReplaceNode(id, Tarnwick::Test::nodeAt(static_cast<double>(id)));
    const auto index = GraphMatrixUtils::graphToSequentialIndex(graph);
    EXPECT_EQ(index.indexToId, (std::vector<unsigned long>{0, 7, 19, 40}));
    ASSERT_EQ(index.idToIndex.size(), 4u);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(index.idToIndex.at(index.indexToId[i]), i);

    const Eigen::MatrixX3d positions = GraphMatrixUtils::nodePositions(graph);
    EXPECT_EQ(positions.col(0), Eigen::Vector4d(0, 7, 19, 40));
    EXPECT_TRUE(GraphMatrixUtils::graphToSequentialIndex(Graph(Graph::Directed, Graph::Dim2D)).indexToId.empty());
}

TEST(GraphMatrixTest, AdjacencyAndDegreeCountSelfLoopsAndDirections) {
    // Undirected: a self loop counts twice on the diagonal and in the degree.
    auto undirected = makeGraph(Graph::Undirected, 3, {{1, 2}, {2, 3}, {3, 3}});
    Eigen::Matrix3d expected;
    expected << 0, 1, 0, 1, 0, 1, 0, 1, 2;
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::adjacencyMatrix(*undirected)), expected);
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::degreeMatrix(*undirected)),
              Eigen::Vector3d(1, 2, 3).asDiagonal().toDenseMatrix());

    // Directed: rows are out-edges, columns in-edges; a self loop counts once each way.
    auto directed = makeGraph(Graph::Directed, 3, {{1, 2}, {2, 1}, {2, 3}, {3, 3}});
    expected << 0, 1, 0, 1, 0, 1, 0, 0, 1;
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::adjacencyMatrix(*directed)), expected);
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::degreeMatrix(*directed)),
              Eigen::Vector3d(2, 3, 3).asDiagonal().toDenseMatrix());
    EXPECT_EQ(Eigen::MatrixXd(GraphMatrixUtils::degreeMatrix(*directed, Graph::In)),
              Eigen::Vector3d(1, 1, 2).asDiagonal().toDenseMatrix());
}

TEST(GraphMatrixTest, PositionsAndFeaturesRoundTrip) {
    auto graph = makeGraph(Graph::Undirected, 3, {{1, 2}});
    graph->addNodeFeatureDescriptors({{"a", 1.0}, {"b", 2.0}});
    graph->editNode(3, [](Graph::NodeInfo& info) { info.features[1] = 5.0; });
    const Eigen::MatrixXd features = GraphMatrixUtils::nodeFeatures(*graph);
    ASSERT_EQ(features.rows(), 3);
    ASSERT_EQ(features.cols(), 2);
    EXPECT_EQ(features.row(2), Eigen::RowVector2d(1.0, 5.0));
    EXPECT_EQ(features.row(0), Eigen::RowVector2d(1.0, 2.0));

    Eigen::MatrixX3d moved = GraphMatrixUtils::nodePositions(*graph);
    moved.col(1).setConstant(4.0);
    ASSERT_TRUE(GraphMatrixUtils::setNodePositions(*graph, moved));
    EXPECT_EQ(GraphMatrixUtils::nodePositions(*graph), moved);

    Tarnwick::Test::LogCapture log;
    EXPECT_FALSE(GraphMatrixUtils::setNodePositions(*graph, Eigen::MatrixX3d::Zero(2, 3)));
    EXPECT_EQ(GraphMatrixUtils::nodePositions(*graph), moved);
    EXPECT_EQ(log.errors().size(), 1u);
}

} // namespace
} // namespace Tarnwick
