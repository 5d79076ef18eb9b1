#include "GraphTestGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Graph/GraphMatrixUtils.h>

#include <gtest/gtest.h>

#include <random>

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

TEST(GraphMatrixTest, AdjacencyAndDegreeMatchDegreeOnRandomGraphs) {
    std::mt19937 rng(9);
    for (int round = 0; round < 100; ++round) {
        const auto type = round % 2 ? Graph::Directed : Graph::Undirected;
        const unsigned long n = 1 + rng() % 8;
        auto graph = makeGraph(type, n, {});
        for (int e = static_cast<int>(rng() % (2 * n)); e > 0; --e)
            graph->addEdge(1 + rng() % n, 1 + rng() % n, {}); // self loops and opposite edges included
        const Eigen::MatrixXd a = Eigen::MatrixXd(GraphMatrixUtils::adjacencyMatrix(*graph));
        const Eigen::MatrixXd total = Eigen::MatrixXd(GraphMatrixUtils::degreeMatrix(*graph));
        const Eigen::MatrixXd in = Eigen::MatrixXd(GraphMatrixUtils::degreeMatrix(*graph, Graph::In));
        EXPECT_EQ(a.sum(), (type == Graph::Undirected ? 2.0 : 1.0) * static_cast<double>(graph->numEdges()));
        EXPECT_TRUE(total.isDiagonal());
        for (unsigned long id = 1; id <= n; ++id) {
            const Eigen::Index i = static_cast<Eigen::Index>(id - 1);
            EXPECT_EQ(total(i, i), graph->degree(id, Graph::Total)) << "round " << round << " node " << id;
            EXPECT_EQ(in(i, i), graph->degree(id, Graph::In));
            if (type == Graph::Undirected) {
                EXPECT_EQ(a.row(i).sum(), graph->degree(id, Graph::Total));
            } else {
                EXPECT_EQ(a.row(i).sum(), graph->degree(id, Graph::Out));
                EXPECT_EQ(a.col(i).sum(), graph->degree(id, Graph::In));
            }
        }
        if (type == Graph::Undirected) {
            EXPECT_EQ(a, a.transpose());
        }
    }
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
